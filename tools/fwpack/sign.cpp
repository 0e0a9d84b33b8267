#include "tools/fwpack/sign.h"

#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"

namespace fwpack {

std::vector<X509*> CarriedCerts(X509* signer, const std::vector<X509*>& ca) {
  std::vector<X509*> carried = {signer};
  if (X509* issuer = FindCarriedIssuer(signer, ca)) carried.push_back(issuer);
  return carried;
}

TailFields TailOf(const SignatureWish& wish, UtcTime signing_time) {
  RequireTailFields(wish.tail);
  TailFields tail = wish.tail;
  const std::optional<UtcTime> build_time = wish.build_time ? wish.build_time : SourceDateEpoch();
  tail.build_time = build_time.value_or(signing_time);
  return tail;
}

void SignPackage(const SignOptions& options) {
  const SignatureWish& wish = options.signature;
  const UtcTime time = wish.time ? *wish.time : Now();
  const TailFields tail = TailOf(wish, time);
  SignatureMessage message{.certs = CarriedCerts(wish.signer, wish.ca), .digest = DigestNamed(wish.digest)};
  PackageWriter writer(options.parts);
  message.attributes = SignedAttributes(writer.CopyContent(message.digest).digest, time);
  message.value = SignAttributes(message.attributes, options.key, message.digest);
  if (!IsSignatureOf(wish.signer, message.digest, message.attributes, message.value)) {
    throw Error("the private key is not the one of the certificate '" + SubjectText(wish.signer) + "'");
  }
  message.token = options.parts.stamp(message.value, message.digest);
  writer.Finish(EncodeSignature(message, wish.form), tail);
}

}  // namespace fwpack
