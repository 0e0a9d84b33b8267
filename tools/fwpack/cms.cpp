#include "tools/fwpack/cms.h"

#include <openssl/pem.h>

#include <limits>

#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"

namespace fwpack {
namespace {

constexpr unsigned int kFlags = CMS_PARTIAL | CMS_DETACHED | CMS_BINARY | CMS_NOCERTS | CMS_NOSMIMECAP;

}  // namespace

DetachedSignature::DetachedSignature(X509* signer, EVP_PKEY* key, const EVP_MD* digest, UtcTime time)
    : message_(CMS_sign(nullptr, nullptr, nullptr, nullptr, kFlags)) {
  RequireOpenSsl(message_ != nullptr, "begin a signature");
  signer_ = CMS_add1_signer(message_.get(), signer, key, digest, kFlags);
  RequireOpenSsl(signer_ != nullptr, "sign as '" + SubjectText(signer) + "'");
  const TimePtr signing_time = MakeAsn1Time(time);
  RequireOpenSsl(
      CMS_signed_add1_attr_by_NID(signer_, NID_pkcs9_signingTime, ASN1_STRING_type(signing_time.get()),
                                  signing_time.get(), -1) == 1,
      "add the signing time");
  content_.reset(CMS_dataInit(message_.get(), nullptr));
  RequireOpenSsl(content_ != nullptr, "begin a signature");
}

void DetachedSignature::AddCertificate(X509* cert) {
  if (++certs_ > kMaxMessageCerts) {
    throw Error("the device decodes at most " + std::to_string(kMaxMessageCerts) +
                " certificates in a signature");
  }
  RequireOpenSsl(CMS_add1_cert(message_.get(), cert) == 1,
                 "add '" + SubjectText(cert) + "' to the signature");
}

void DetachedSignature::Update(std::string_view piece) {
  std::size_t written = 0;
  RequireOpenSsl(
      BIO_write_ex(content_.get(), piece.data(), piece.size(), &written) == 1 && written == piece.size(),
      "digest the content");
}

std::string DetachedSignature::Sign() {
  RequireOpenSsl(BIO_flush(content_.get()) == 1 && CMS_dataFinal(message_.get(), content_.get()) == 1,
                 "sign");
  const ASN1_OCTET_STRING* value = CMS_SignerInfo_get0_signature(signer_);
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
          static_cast<std::size_t>(ASN1_STRING_length(value))};
}

void DetachedSignature::AddTimeStamp(const std::string& token) {
  if (token.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw Error("the time-stamp is longer than 2 GiB");
  }
  RequireOpenSsl(CMS_unsigned_add1_attr_by_NID(signer_, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE,
                                               token.data(), static_cast<int>(token.size())) == 1,
                 "add the time-stamp");
}

std::string DetachedSignature::Encode(SignatureForm form) const {
  std::string der = ToDer(message_.get(), i2d_CMS_ContentInfo, "encode the signature");
  if (form == SignatureForm::kDer) return der;
  const BioPtr memory = NewMemory();
  const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
  RequireOpenSsl(PEM_write_bio(memory.get(), PEM_STRING_CMS, "", bytes, static_cast<long>(der.size())) > 0,
                 "encode the signature");
  return TakeMemory(memory.get());
}

}  // namespace fwpack
