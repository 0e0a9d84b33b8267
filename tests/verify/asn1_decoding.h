#ifndef FWVET_TESTS_VERIFY_ASN1_DECODING_H
#define FWVET_TESTS_VERIFY_ASN1_DECODING_H

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

#include "platform/lumo_plt_impl.h"
#include "tests/support/der_builder.h"
#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/lumo_plt_proxy.h"
#include "verify/lumo_vrf.h"

/// A row for one decode function, outside any table.
constexpr LUMO_ASN1_TEMPLATE RowFor(const LUMO_ASN1_ITEM& item, TEV_UINT16 flags = 0, FieldTag tag = {}) {
  return {.asn1_item = &item,
          .tagCode = tag.code,
          .tagType = tag.type,
          .flag = flags,
          .offset_val = 0,
          .pDefaultVal = 0};
}

/// Runs one decode function over a buffer and keeps all that it leaves behind.
class Decoding {
 public:
  Decoding(TEV_ASN_DECODE_ITEM decode, der::Bytes input, void* target, const LUMO_ASN1_TEMPLATE* templ)
      : input_(std::move(input)) {
    EXPECT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0);
    EXPECT_EQ(lumo_buf_init(&buf_, input_.data(), static_cast<TEV_UINT32>(input_.size())), LUMO_OK);
    code = decode(&vrf_, &buf_, target, &consumed, templ);
    cursor = buf_.iCursor;
  }

  [[nodiscard]] const TEV_BYTE* at(std::size_t offset) const { return input_.data() + offset; }

  TEV_UINT32 code = 0;
  TEV_UINT32 consumed = 0xEEEEEEEE;
  TEV_UINT32 cursor = 0;

 private:
  LUMO_VRF vrf_{};
  der::Bytes input_;
  LUMO_BUF buf_{};
};

#endif
