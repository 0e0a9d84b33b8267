#include "tools/fwpack/view/token_view.h"

#include <algorithm>
#include <cstring>

#include "tools/fwpack/view/ber.h"
#include "tools/fwpack/view/decode_stop.h"
#include "tools/fwpack/view/message_view.h"
#include "tools/fwpack/view/name_view.h"
#include "tools/fwpack/view/time_view.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

using TstInfoPtr = OpenSslPtr<TS_TST_INFO, TS_TST_INFO_free>;

const AttributeView* TokenAttribute(const MessageView& signature) {
  if (signature.signers.empty()) return nullptr;
  const auto& attributes = signature.signers.front().unsigned_attributes;
  const std::string type = OBJ_nid2sn(NID_id_smime_aa_timeStampToken);
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [&type](const AttributeView& each) { return each.type == type; });
  return found == attributes.end() ? nullptr : &*found;
}

// The first value of the attribute: bytes of the message, found there again.
std::string_view FirstValue(const AttributeView& attribute) {
  const auto set = ReadBer(attribute.der, 0, attribute.der.size());
  if (!set) return {};
  const auto value = ReadBer(attribute.der, set->content(), set->end());
  return value ? WholeOf(attribute.der, *value) : std::string_view{};
}

// Takes time linear in the message, however often the token's first bytes are repeated in front of it.
std::uint64_t OffsetIn(const MessageView& signature, std::string_view token) {
  const auto* found = static_cast<const char*>(
      memmem(signature.der.data(), signature.der.size(), token.data(), token.size()));
  const bool is_known = signature.encoding == Encoding::kDer && found != nullptr;
  return signature.offset + (is_known ? static_cast<std::size_t>(found - signature.der.data()) : 0);
}

void Fill(TS_TST_INFO* info, TokenView* view) {
  view->policy = ShortName(TS_TST_INFO_get_policy_id(info));
  view->serial = ViewSerial(TS_TST_INFO_get_serial(info));
  TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info);
  view->imprint_algorithm = AlgorithmName(TS_MSG_IMPRINT_get_algo(imprint));
  view->imprint = OctetsOf(TS_MSG_IMPRINT_get_msg(imprint));
  view->time = ViewTime(TS_TST_INFO_get_time(info));
  if (TS_TST_INFO_get_nonce(info) != nullptr) view->nonce_hex = ViewSerial(TS_TST_INFO_get_nonce(info)).hex;
}

void ReadInfo(TokenView* view) {
  ASN1_OCTET_STRING** content = CMS_get0_content(view->message.cms.get());
  if (content == nullptr || *content == nullptr) {
    view->stop = {.offset = view->message.offset, .reason = "the time-stamp token carries no TSTInfo"};
    return;
  }
  const std::string der = OctetsOf(*content);
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  const TstInfoPtr info(d2i_TS_TST_INFO(nullptr, &at, static_cast<long>(der.size())));
  if (info != nullptr) return Fill(info.get(), view);
  const Stop stop = DecodeStop("TSTInfo", der, Visible(TakeOpenSslReasons()));
  view->stop = {.offset = view->message.offset, .reason = "in the time-stamp token, " + stop.reason};
}

}  // namespace

std::optional<TokenView> ViewToken(const MessageView& signature) {
  const AttributeView* attribute = TokenAttribute(signature);
  if (attribute == nullptr) return std::nullopt;
  TokenView view;
  const std::string_view token = FirstValue(*attribute);
  if (token.empty()) {
    view.message.offset = signature.offset;
    view.message.device_code = LUMO_ERR_PKCS7_DECODE;
    view.stop = {.offset = signature.offset, .reason = "the time-stamp attribute is empty"};
    return view;
  }
  view.message = ViewMessage(token, OffsetIn(signature, token));
  if (view.message.cms != nullptr) ReadInfo(&view);
  (void)TakeOpenSslReasons();
  return view;
}

}  // namespace fwpack
