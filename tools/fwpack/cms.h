#ifndef FWVET_TOOLS_FWPACK_CMS_H
#define FWVET_TOOLS_FWPACK_CMS_H

#include <string>
#include <string_view>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"
#include "tools/fwpack/utc_time.h"

namespace fwpack {

/// The most certificates that the device decodes in one message.
constexpr std::size_t kMaxMessageCerts = 2;

enum class SignatureForm { kDer, kPem };

/// A detached CMS signature with signed attributes over content that comes in pieces; PKCS #1 v1.5, the
/// signer named by issuer and serial number.
class DetachedSignature {
 public:
  /// `time` goes into the signingTime attribute. Throws Error when certificate and key do not belong
  /// together.
  DetachedSignature(X509* signer, EVP_PKEY* key, const EVP_MD* digest, UtcTime time);

  /// Puts a certificate into the message. Throws Error beyond what the device decodes.
  void AddCertificate(X509* cert);
  /// Adds content.
  void Update(std::string_view piece);
  /// Ends the content and signs. Returns the signature value, which a time-stamp has to cover.
  std::string Sign();
  /// Puts a time-stamp token (DER) into the unsigned attributes; after Sign().
  void AddTimeStamp(const std::string& token);
  /// The message; after Sign().
  [[nodiscard]] std::string Encode(SignatureForm form) const;

 private:
  CmsPtr message_{};
  CMS_SignerInfo* signer_ = nullptr;  // owned by the message
  BioPtr content_{};
  std::size_t certs_ = 0;
};

}  // namespace fwpack

#endif
