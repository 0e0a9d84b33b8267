#include "tests/support/forged_messages.h"

namespace world {

pki::TokenSpec ForgedMessages::GoodToken() const {
  return {.tsa = world_.tsa, .certs = {world_.tsa}};
}

Bytes ForgedMessages::Message(const Cert& signer, const pki::TokenSpec& token,
                              const std::vector<Cert>& more) const {
  std::vector<Cert> certs{signer};
  certs.insert(certs.end(), more.begin(), more.end());
  return pki::MakeCms(
      {.content = content_, .signers = {pki::SignerSpec{.signer = signer, .token = token}}, .certs = certs});
}

Bytes ForgedMessages::WithRawToken(const Bytes& token) const {
  return pki::MakeCms({.content = content_,
                       .signers = {pki::SignerSpec{.signer = world_.signer, .raw_token = token}},
                       .certs = {world_.signer}});
}

Bytes ForgedMessages::Raw(const std::vector<Bytes>& attributes, const Change& change) const {
  pki::RawSignerInfo info = pki::SignAttributes(world_.signer, attributes);
  info.unsigned_attributes = pki::TokenAttributes(pki::MakeToken(GoodToken(), info.signature));
  pki::RawSignedData message;
  message.certificates = {world_.signer.der};
  if (change) change(message, info);
  if (message.signer_infos.empty()) message.signer_infos = {info.Encode()};
  return message.Encode();
}

Bytes ForgedMessages::RightDigest() const {
  return MessageDigest(pki::DigestOf("SHA256", content_));
}

Bytes MessageDigest(const Bytes& digest) {
  return pki::Attribute(pki::kOidMessageDigest, der::OctetString(digest));
}

}  // namespace world
