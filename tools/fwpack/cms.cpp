#include "tools/fwpack/cms.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include "tools/fwpack/der.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"

namespace fwpack {
namespace {

using AlgorithmPtr = OpenSslPtr<X509_ALGOR, X509_ALGOR_free>;
using DigestContextPtr = OpenSslPtr<EVP_MD_CTX, EVP_MD_CTX_free>;

constexpr char kVersion1[] = {0x02, 0x01, 0x01};

const unsigned char* Octets(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string Oid(int nid) {
  return ToDer(OBJ_nid2obj(nid), i2d_ASN1_OBJECT, "encode an object identifier");
}

std::string Attribute(int nid, const std::string& value) {
  return DerElement(der_tag::kSequence, Oid(nid) + DerElement(der_tag::kSet, value));
}

std::string DigestAlgorithm(const EVP_MD* digest) {
  const AlgorithmPtr algorithm(X509_ALGOR_new());
  RequireOpenSsl(algorithm != nullptr, "name the digest");
  X509_ALGOR_set_md(algorithm.get(), digest);
  return ToDer(algorithm.get(), i2d_X509_ALGOR, "name the digest");
}

std::string RsaAlgorithm() {
  const AlgorithmPtr algorithm(X509_ALGOR_new());
  RequireOpenSsl(algorithm != nullptr && X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(NID_rsaEncryption),
                                                         V_ASN1_NULL, nullptr) == 1,
                 "name the signature algorithm");
  return ToDer(algorithm.get(), i2d_X509_ALGOR, "name the signature algorithm");
}

std::string SignerId(X509* signer) {
  return DerElement(der_tag::kSequence,
                    ToDer(X509_get_issuer_name(signer), i2d_X509_NAME, "name the signer's issuer") +
                        ToDer(X509_get0_serialNumber(signer), i2d_ASN1_INTEGER, "name the signer"));
}

// In the message the attributes carry a tag of their own in place of that of a SET.
std::string Retagged(std::string element, std::uint8_t tag) {
  element.at(0) = static_cast<char>(tag);
  return element;
}

std::string SignerInfo(const SignatureMessage& message) {
  const std::string stamp = Attribute(NID_id_smime_aa_timeStampToken, message.token);
  return DerElement(der_tag::kSequence,
                    std::string(kVersion1, sizeof kVersion1) + SignerId(message.certs.at(0)) +
                        DigestAlgorithm(message.digest) + Retagged(message.attributes, der_tag::kContext0) +
                        RsaAlgorithm() + DerElement(der_tag::kOctetString, message.value) +
                        DerElement(der_tag::kContext1, stamp));
}

std::string ToPem(const std::string& der) {
  const BioPtr memory = NewMemory();
  RequireOpenSsl(
      PEM_write_bio(memory.get(), PEM_STRING_CMS, "", Octets(der), static_cast<long>(der.size())) > 0,
      "encode the signature");
  return TakeMemory(memory.get());
}

}  // namespace

std::string SignedAttributes(const std::string& content_digest, UtcTime time) {
  const TimePtr signing_time = MakeAsn1Time(time);
  return DerSetOf(
      der_tag::kSet,
      {Attribute(NID_pkcs9_contentType, Oid(NID_pkcs7_data)),
       Attribute(NID_pkcs9_signingTime, ToDer(signing_time.get(), i2d_ASN1_TIME, "encode the signing time")),
       Attribute(NID_pkcs9_messageDigest, DerElement(der_tag::kOctetString, content_digest))});
}

std::string SignAttributes(const std::string& attributes, EVP_PKEY* key, const EVP_MD* digest) {
  const DigestContextPtr context(EVP_MD_CTX_new());
  EVP_PKEY_CTX* key_context = nullptr;  // owned by `context`
  RequireOpenSsl(context != nullptr &&
                     EVP_DigestSignInit(context.get(), &key_context, digest, nullptr, key) == 1 &&
                     EVP_PKEY_CTX_set_rsa_padding(key_context, RSA_PKCS1_PADDING) == 1,
                 "sign");
  std::size_t length = 0;
  RequireOpenSsl(EVP_DigestSign(context.get(), nullptr, &length, Octets(attributes), attributes.size()) == 1,
                 "sign");
  std::string value(length, '\0');
  RequireOpenSsl(EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(value.data()), &length,
                                Octets(attributes), attributes.size()) == 1,
                 "sign");
  value.resize(length);
  return value;
}

bool IsSignatureOf(X509* signer, const EVP_MD* digest, const std::string& attributes,
                   const std::string& value) {
  const DigestContextPtr context(EVP_MD_CTX_new());
  EVP_PKEY_CTX* key_context = nullptr;  // owned by `context`
  const bool good =
      X509_get0_pubkey(signer) != nullptr && context != nullptr &&
      EVP_DigestVerifyInit(context.get(), &key_context, digest, nullptr, X509_get0_pubkey(signer)) == 1 &&
      EVP_PKEY_CTX_set_rsa_padding(key_context, RSA_PKCS1_PADDING) == 1 &&
      EVP_DigestVerify(context.get(), Octets(value), value.size(), Octets(attributes), attributes.size()) ==
          1;
  ERR_clear_error();
  return good;
}

std::string EncodeSignature(const SignatureMessage& message, SignatureForm form) {
  if (message.certs.empty() || message.certs.size() > kMaxMessageCerts) {
    throw Error("the device decodes at most " + std::to_string(kMaxMessageCerts) +
                " certificates in a signature, the signer's among them");
  }
  std::vector<std::string> certs;
  for (X509* cert : message.certs) certs.push_back(ToDer(cert, i2d_X509, "encode a certificate"));
  const std::string signed_data = DerElement(
      der_tag::kSequence,
      std::string(kVersion1, sizeof kVersion1) + DerElement(der_tag::kSet, DigestAlgorithm(message.digest)) +
          DerElement(der_tag::kSequence, Oid(NID_pkcs7_data)) + DerSetOf(der_tag::kContext0, certs) +
          DerElement(der_tag::kSet, SignerInfo(message)));
  const std::string der =
      DerElement(der_tag::kSequence, Oid(NID_pkcs7_signed) + DerElement(der_tag::kContext0, signed_data));
  return form == SignatureForm::kDer ? der : ToPem(der);
}

X509* FindCarriedIssuer(X509* cert, const std::vector<X509*>& candidates) {
  for (X509* candidate : candidates) {
    if (!IsSelfIssued(candidate) && IsIssuedBy(cert, candidate)) return candidate;
  }
  return nullptr;
}

}  // namespace fwpack
