#ifndef FWVET_TOOLS_FWPACK_CMS_H
#define FWVET_TOOLS_FWPACK_CMS_H

#include <string>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"
#include "tools/fwpack/utc_time.h"

// A detached CMS signature with signed attributes; PKCS #1 v1.5, the signer named by issuer and serial
// number. It is made in steps, so that the step that needs the private key can be done elsewhere.
namespace fwpack {

/// The most certificates that the device decodes in one message.
constexpr std::size_t kMaxMessageCerts = 2;

enum class SignatureForm { kDer, kPem };

/// The signed attributes (contentType, signingTime, messageDigest) as the DER of a SET OF: the bytes that are
/// signed. The same arguments always give the same bytes.
std::string SignedAttributes(const std::string& content_digest, UtcTime time);

/// Signs the attributes. Returns the signature value, which a time-stamp has to cover. Throws Error when the
/// key refuses.
std::string SignAttributes(const std::string& attributes, EVP_PKEY* key, const EVP_MD* digest);

/// Whether `value` is the signature of the certificate's key over the attributes.
bool IsSignatureOf(X509* signer, const EVP_MD* digest, const std::string& attributes,
                   const std::string& value);

/// Everything that a message holds.
struct SignatureMessage {
  std::vector<X509*> certs{};  // the signer's first
  const EVP_MD* digest = nullptr;
  std::string attributes{};  // as SignedAttributes() made them
  std::string value{};       // the signature over them
  std::string token{};       // the time-stamp token over `value` (DER)
};

/// The message as it is stored. Throws Error for more certificates than the device decodes.
std::string EncodeSignature(const SignatureMessage& message, SignatureForm form);

/// The issuer's certificate among `candidates` when a message should carry it, else null: the device has the
/// root and takes none from a message.
X509* FindCarriedIssuer(X509* cert, const std::vector<X509*>& candidates);

}  // namespace fwpack

#endif
