#include "tests/verify/bent_messages.h"

#include <utility>

const world::World& Maker() {
  static const world::World maker(pki::SelfSigned(pki::CaSpec("root")));
  return maker;
}

pki::Time StampTime() {
  return pki::Utc(2024, 6, 1, 12);
}

void Equip(VerifyContext& context, const world::CrlPlan& crls) {
  context.Trust(Maker().root);
  context.Load(Maker().Crls(crls));
}

const der::Bytes& Content() {
  static const der::Bytes content = der::FromText("software");
  return content;
}

std::vector<der::Bytes> UsualAttributes(const der::Bytes& content, const std::string& digest) {
  return {pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData)),
          DigestAttribute(pki::DigestOf(digest, content))};
}

der::Bytes DigestAttribute(const der::Bytes& digest) {
  return pki::Attribute(pki::kOidMessageDigest, der::OctetString(digest));
}

pki::RawSignerInfo SignerOver(const std::vector<der::Bytes>& attributes) {
  return pki::SignAttributes(Maker().signer, attributes);
}

pki::RawSignerInfo PlainSigner(const der::Bytes& content) {
  return pki::SignContent(Maker().signer, content);
}

der::Bytes TokenOver(const der::Bytes& stamped) {
  return pki::MakeToken({.tsa = Maker().tsa, .time = StampTime(), .certs = {Maker().tsa}}, stamped);
}

der::Bytes TokenAround(const der::Bytes& tst_info) {
  return TokenOf(tst_info, {pki::SignAttributes(Maker().tsa, UsualAttributes(tst_info)).Encode()});
}

der::Bytes TokenOf(const der::Bytes& tst_info, const std::vector<der::Bytes>& signer_infos) {
  pki::RawSignedData token;
  token.content = pki::TstContent(tst_info);
  token.certificates = {Maker().tsa.der};
  token.signer_infos = signer_infos;
  return token.Encode();
}

der::Bytes UsualTstInfo(const der::Bytes& stamped) {
  return pki::MakeTstInfo({.tsa = Maker().tsa, .time = StampTime()}, stamped);
}

der::Bytes MessageOf(pki::RawSignerInfo signer) {
  if (signer.unsigned_attributes.empty()) {
    signer.unsigned_attributes = pki::TokenAttributes(TokenOver(signer.signature));
  }
  return MessageOfAll({signer.Encode()});
}

der::Bytes MessageWith(pki::RawSignerInfo signer, const der::Bytes& token) {
  signer.unsigned_attributes = pki::TokenAttributes(token);
  return MessageOf(std::move(signer));
}

der::Bytes MessageOfAll(const std::vector<der::Bytes>& signer_infos) {
  pki::RawSignedData message;
  message.certificates = {Maker().signer.der, Maker().ca.der};
  message.signer_infos = signer_infos;
  return message.Encode();
}
