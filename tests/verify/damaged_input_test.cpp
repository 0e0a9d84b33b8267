// Certificates, CRLs and messages that are cut, altered in every octet, or bent in every element. Whatever
// the verdict: it is one of the decoder's, all that is kept lies inside the input, and nothing stays
// allocated. Each input lies in a block of exactly its size, so that the sanitizers see the first octet read
// behind it.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/raw_pki.h"
#include "tests/verify/der_tree.h"
#include "tests/verify/verify_context.h"
#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_cms_parse.h"

namespace {

using pki::Bytes;

// What a decoded record is checked against.
class Input {
 public:
  Input(const TEV_BYTE* data, std::size_t size) : data_(data), size_(size) {}

  // An element that is not null lies inside.
  [[nodiscard]] bool Holds(const LUMO_ASN_OCTS& view) const {
    if (view.octs == nullptr) return true;
    return view.octs >= data_ && view.octs <= data_ + size_ &&
           view.len <= size_ - static_cast<std::size_t>(view.octs - data_);
  }

  [[nodiscard]] bool Holds(const LUMO_X509_NAME& name) const {
    if (name.names.num > name.names.kRoom) return false;
    for (TEV_UINT32 i = 0; i < name.names.num; ++i) {
      const auto& attrs = name.names.data[i].attrs;
      if (attrs.num > attrs.kRoom) return false;
      for (TEV_UINT32 j = 0; j < attrs.num; ++j) {
        if (!Holds(attrs.data[j].id) || !Holds(attrs.data[j].value)) return false;
      }
    }
    return true;
  }

  [[nodiscard]] bool Holds(const LUMO_X509_CERT& cert) const {
    const LUMO_X509_CERTINFO& info = cert.toBeSigned;
    const LUMO_RSA_PUBKEY& key = info.subjectPubKey.subjectPublicKey.rsa_pub;
    return Holds(cert.raw_signed) && Holds(cert.algorithm.algorithm) && Holds(cert.signature) &&
           Holds(info.serialNumber) && Holds(info.issuer) && Holds(info.validity.notBefore) &&
           Holds(info.validity.notAfter) && Holds(info.subject) && Holds(key.modules) &&
           Holds(key.publicExponent);
  }

  [[nodiscard]] bool Holds(const LUMO_X509_CRL& crl) const {
    const LUMO_X509_CRLINFO& info = crl.tbs_cert_list;
    const auto& entries = info.revoked_certs.revoked_list;
    if (entries.num > entries.kRoom) return false;
    for (TEV_UINT32 i = 0; i < entries.num; ++i) {
      if (!Holds(entries.data[i].user_cert) || !Holds(entries.data[i].revocation_date)) return false;
    }
    const LUMO_X509_ISSUING_DIST_POINT& idp = info.extensions.idp;
    return Holds(crl.raw_signed) && Holds(crl.signature) && Holds(info.issuer) && Holds(info.this_update) &&
           Holds(info.next_update) && Holds(idp.distpoint) && Holds(idp.onlysomereasons);
  }

  [[nodiscard]] bool Holds(const LUMO_PKCS7_CONTENT& message) const {
    const LUMO_PKCS7_SIGNED_DATA& data = message.signed_data;
    if (data.certificates.num() > 2 || data.signer_infos.infos.num > 1) return false;
    for (TEV_UINT32 i = 0; i < data.certificates.num(); ++i) {
      if (!Holds(*data.certificates.at(i))) return false;
    }
    const LUMO_PKCS7_SIGNER_INFO& si = data.signer_infos.infos.data[0];
    return Holds(data.content.type) && Holds(data.content.content) && Holds(si.issuer_sn.issuer) &&
           Holds(si.issuer_sn.sn) && Holds(si.raw_signed) && Holds(si.auth_attrs.hash_value) &&
           Holds(si.encrypted_digest) && Holds(si.unauth_attrs.timestamp);
  }

  [[nodiscard]] bool Holds(const LUMO_TST_INFO& info) const {
    return Holds(info.msg_imprint.hash_algo.algorithm) && Holds(info.msg_imprint.hash_value) &&
           Holds(info.time);
  }

 private:
  const TEV_BYTE* data_;
  std::size_t size_;
};

// Decodes, checks what was decoded, releases it; the result is the decoder's code.
using Parser = std::function<LUMO_ERROR_CODE(const LUMO_VRF* vrf, const TEV_BYTE* data, TEV_UINT32 size)>;

void UseName(const LUMO_VRF* vrf, const LUMO_X509_NAME& name) {
  TEV_CHAR* text = nullptr;
  TEV_UINT32 length = 0;
  const LUMO_ERROR_CODE rc = lumo_convert_from_x509_name(vrf, &name, &text, &length);
  ASSERT_TRUE(rc == LUMO_OK || rc == LUMO_ERR_NAME_CONVERT) << std::hex << rc;
  ASSERT_LE(length, 255u);
  lumo_free(vrf, text);
  ASSERT_EQ(lumo_compare_x509_name(vrf, &name, &name), LUMO_OK);
}

LUMO_ERROR_CODE ParseCert(const LUMO_VRF* vrf, const TEV_BYTE* data, TEV_UINT32 size) {
  LUMO_X509_CERT* cert = nullptr;
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_x509_decode_cert(vrf, data, size, &cert, &consumed); rc != LUMO_OK) return rc;
  EXPECT_LE(consumed, size);
  EXPECT_TRUE(Input(data, size).Holds(*cert));
  UseName(vrf, cert->toBeSigned.subject);
  LUMO_BIGINT e{};
  LUMO_BIGINT n{};
  static_cast<void>(lumo_x509_extract_public_key(vrf, cert, &e, &n));
  lumo_x509_free_cert(vrf, cert);
  return LUMO_OK;
}

LUMO_ERROR_CODE ParseCrl(const LUMO_VRF* vrf, const TEV_BYTE* data, TEV_UINT32 size) {
  LUMO_X509_CRL* crl = nullptr;
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_x509_decode_crl(vrf, data, size, &crl, &consumed); rc != LUMO_OK) return rc;
  EXPECT_LE(consumed, size);
  EXPECT_TRUE(Input(data, size).Holds(*crl));
  UseName(vrf, crl->tbs_cert_list.issuer);
  lumo_x509_free_crl(vrf, crl);
  return LUMO_OK;
}

LUMO_ERROR_CODE ParseMessage(const LUMO_VRF* vrf, const TEV_BYTE* data, TEV_UINT32 size) {
  LUMO_PKCS7_CONTENT* message = nullptr;
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_pkcs7_decode_signed(vrf, data, size, &message, &consumed); rc != LUMO_OK) return rc;
  EXPECT_LE(consumed, size);
  EXPECT_TRUE(Input(data, size).Holds(*message));
  lumo_pkcs7_free_signed(vrf, message);
  return LUMO_OK;
}

LUMO_ERROR_CODE ParseStamp(const LUMO_VRF* vrf, const TEV_BYTE* data, TEV_UINT32 size) {
  LUMO_TST_INFO* info = nullptr;
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_decode_as(vrf, data, size, LUMO_TST_INFO_item, &info, &consumed); rc != LUMO_OK)
    return rc;
  EXPECT_LE(consumed, size);
  EXPECT_TRUE(Input(data, size).Holds(*info));
  lumo_asn_free(vrf, info, &LUMO_TST_INFO_item, 0);
  return LUMO_OK;
}

// What the decoder may answer: never a parameter error, nor any code of another room.
const std::set<LUMO_ERROR_CODE> kDecoderCodes = {0,          0x88000201, 0x88300001, 0x88300003,
                                                 0x88300101, 0x88300401, 0x88300501, 0x88300601,
                                                 0x88300701, 0x88300801, 0xFFFFFFFF};
const std::set<LUMO_ERROR_CODE> kMessageCodes = {0, 0x88200312};

struct Kind {
  std::string name;
  Parser parse;
  const std::set<LUMO_ERROR_CODE>* codes;
  std::function<Bytes()> make;
};

struct People {
  pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  pki::Cert signer = pki::Issue(root, pki::CodeSignerSpec("Signer", {0x81, 7}));
  pki::Cert tsa = pki::Issue(root, pki::TimeStamperSpec("Stamper", {3}));
};
const People& ThePeople() {
  static const People people;
  return people;
}

Bytes MakeCert() {
  pki::RawCert raw =
      pki::RawCertFrom(pki::CodeSignerSpec("Signer", {0x81, 7}), pki::NameDer(pki::Cn("Root")));
  raw.unique_ids = der::Concat(der::Tlv(0x81, Bytes{0, 1}), der::Tlv(0x82, Bytes{0, 2}));
  raw.extensions.push_back(pki::ExtensionDer(
      {.oid = "2.5.29.19", .critical = true, .value = der::Seq(der::Boolean(true), der::Integer(3))}));
  return pki::SignedFrame(raw.Tbs(), ThePeople().root.key);
}

Bytes MakeCrl() {
  pki::CrlSpec spec;
  spec.indirect = true;
  spec.number = 5;
  spec.revoked = {{.serial = {5}, .date = pki::Utc(2024, 1, 1), .reason = 4},
                  {.serial = {0x91}, .date = pki::Utc(2024, 1, 1), .reason = {}}};
  return pki::MakeCrl(ThePeople().root, spec);
}

Bytes MakeMessage() {
  const People& people = ThePeople();
  pki::RawSignerInfo si = pki::SignAttributes(
      people.signer, {pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData)),
                      pki::Attribute(pki::kOidMessageDigest,
                                     der::OctetString(pki::DigestOf("SHA256", der::FromText("content"))))});
  si.unsigned_attributes =
      pki::TokenAttributes(der::Seq(der::Oid(pki::kOidSignedData), der::Explicit(0, der::Null())));
  pki::RawSignedData raw;
  raw.certificates = {people.signer.der};
  raw.crls = der::Tlv(0xA1, der::Seq(der::Null()));
  raw.signer_infos = {si.Encode()};
  return raw.Encode();
}

Bytes MakeStamp() {
  pki::TokenSpec spec;
  spec.tsa = ThePeople().tsa;
  return pki::MakeTstInfo(spec, der::FromText("stamped"));
}

class DamagedInput : public ::testing::TestWithParam<Kind> {
 protected:
  void SetUp() override { vrf_.callback_funcs = allocator_.table(); }

  LUMO_ERROR_CODE Parse(const TEV_BYTE* data, std::size_t size) {
    const LUMO_ERROR_CODE rc = GetParam().parse(&vrf_, data, static_cast<TEV_UINT32>(size));
    EXPECT_EQ(GetParam().codes->count(rc), 1u) << std::hex << rc;
    EXPECT_EQ(allocator_.live(), 0u);
    return rc;
  }

  LUMO_ERROR_CODE ParseCopy(const Bytes& input) {
    const std::unique_ptr<TEV_BYTE[]> block(new TEV_BYTE[input.size()]);
    std::copy(input.begin(), input.end(), block.get());
    return Parse(block.get(), input.size());
  }

  // Every element in turn, changed.
  void BendEach(const DerTree::Change& change) {
    const DerTree tree(good_);
    for (std::size_t i = 0; i < tree.size() && !HasFailure(); ++i) {
      const Bytes bent = tree.With(i, change);
      if (!bent.empty()) static_cast<void>(ParseCopy(bent));
      ASSERT_FALSE(HasFailure()) << "element " << i;
    }
  }

  FailingAllocator allocator_;
  LUMO_VRF vrf_{};
  const Bytes good_ = GetParam().make();
};

TEST_P(DamagedInput, UndamagedItDecodes) {
  EXPECT_EQ(ParseCopy(good_), LUMO_OK);
  const DerTree tree(good_);
  EXPECT_EQ(tree.With(tree.size(), nullptr), good_);
}

TEST_P(DamagedInput, CutAnywhereItFails) {
  for (std::size_t size = 1; size < good_.size() && !HasFailure(); ++size) {
    EXPECT_NE(ParseCopy(Bytes(good_.begin(), good_.begin() + static_cast<std::ptrdiff_t>(size))), LUMO_OK)
        << size;
  }
}

TEST_P(DamagedInput, EveryOctetMayHaveAnyOtherValue) {
  const std::unique_ptr<TEV_BYTE[]> block(new TEV_BYTE[good_.size()]);
  std::copy(good_.begin(), good_.end(), block.get());
  for (std::size_t at = 0; at < good_.size(); ++at) {
    for (unsigned value = 0; value < 256; ++value) {
      block[at] = static_cast<TEV_BYTE>(value);
      static_cast<void>(Parse(block.get(), good_.size()));
    }
    block[at] = good_[at];
    ASSERT_FALSE(HasFailure()) << "octet " << at;
  }
}

TEST_P(DamagedInput, EveryElementMayBeEmpty) {
  BendEach([](std::uint8_t tag, const Bytes&) { return der::Tlv(tag); });
}

TEST_P(DamagedInput, EveryElementMayBeMissing) {
  BendEach([](std::uint8_t, const Bytes&) { return Bytes{}; });
}

TEST_P(DamagedInput, EveryElementMayStandTwice) {
  BendEach([](std::uint8_t tag, const Bytes& content) {
    return der::Concat(der::Tlv(tag, content), der::Tlv(tag, content));
  });
}

TEST_P(DamagedInput, EveryElementMayHoldMoreThanItsOwn) {
  BendEach([](std::uint8_t tag, const Bytes& content) { return der::Tlv(tag, content, der::Null()); });
}

TEST_P(DamagedInput, EveryElementMayBeOfAnotherForm) {
  BendEach([](std::uint8_t tag, const Bytes& content) {
    return der::Tlv(static_cast<std::uint8_t>(tag ^ 0x20), content);
  });
}

TEST_P(DamagedInput, EveryLengthMayBeTheLongestOrIndefinite) {
  BendEach([](std::uint8_t tag, const Bytes& content) {
    return der::RawLength(tag, der::LongLength(0xFFFFFFFF, 4), content);
  });
  BendEach([](std::uint8_t tag, const Bytes& content) {
    return der::RawLength(tag, der::LongLength(0x7FFFFFFF, 4), content);
  });
  BendEach([](std::uint8_t tag, const Bytes& content) { return der::Indefinite(tag, content); });
}

TEST_P(DamagedInput, EveryTagMayBeOfTheHighNumberForm) {
  BendEach([](std::uint8_t tag, const Bytes& content) {
    return der::LongTag(static_cast<std::uint8_t>(tag & 0xE0), 0xFFFFFFFF, content);
  });
}

TEST_P(DamagedInput, EveryElementMayBeWrappedAThousandTimes) {
  BendEach([](std::uint8_t tag, const Bytes& content) {
    Bytes deep = der::Tlv(tag, content);
    for (int i = 0; i < 1000; ++i) deep = der::Concat(Bytes{0x30}, der::LongLength(deep.size(), 3), deep);
    return deep;
  });
}

TEST_P(DamagedInput, NoLengthNeedsToBeMinimal) {
  const DerTree tree(good_);
  for (std::size_t i = 0; i < tree.size(); ++i) {
    for (std::size_t octets = 3; octets <= 4; ++octets) {
      const Bytes bent = tree.With(i, [octets](std::uint8_t tag, const Bytes& content) {
        return der::RawLength(tag, der::LongLength(content.size(), octets), content);
      });
      ASSERT_EQ(ParseCopy(bent), LUMO_OK) << "element " << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, DamagedInput,
                         ::testing::Values(Kind{"Certificate", ParseCert, &kDecoderCodes, MakeCert},
                                           Kind{"Crl", ParseCrl, &kDecoderCodes, MakeCrl},
                                           Kind{"Message", ParseMessage, &kMessageCodes, MakeMessage},
                                           Kind{"TimeStamp", ParseStamp, &kDecoderCodes, MakeStamp}),
                         NameOfRow());

}  // namespace
