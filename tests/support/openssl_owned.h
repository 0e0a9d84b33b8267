#ifndef FWVET_TESTS_SUPPORT_OPENSSL_OWNED_H
#define FWVET_TESTS_SUPPORT_OPENSSL_OWNED_H

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/ts.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tests/support/test_pki.h"

// Owners of OpenSSL's objects and the glue that turns its failures into exceptions.
namespace pki {

template <auto Free>
struct OsslFree {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};

using OwnedBio = std::unique_ptr<BIO, OsslFree<BIO_free_all>>;
using OwnedBignum = std::unique_ptr<BIGNUM, OsslFree<BN_free>>;
using OwnedCert = std::unique_ptr<X509, OsslFree<X509_free>>;
using OwnedCrl = std::unique_ptr<X509_CRL, OsslFree<X509_CRL_free>>;
using OwnedName = std::unique_ptr<X509_NAME, OsslFree<X509_NAME_free>>;
using OwnedExtension = std::unique_ptr<X509_EXTENSION, OsslFree<X509_EXTENSION_free>>;
using OwnedRevoked = std::unique_ptr<X509_REVOKED, OsslFree<X509_REVOKED_free>>;
using OwnedTime = std::unique_ptr<ASN1_TIME, OsslFree<ASN1_TIME_free>>;
using OwnedInteger = std::unique_ptr<ASN1_INTEGER, OsslFree<ASN1_INTEGER_free>>;
using OwnedOctets = std::unique_ptr<ASN1_OCTET_STRING, OsslFree<ASN1_OCTET_STRING_free>>;
using OwnedObject = std::unique_ptr<ASN1_OBJECT, OsslFree<ASN1_OBJECT_free>>;
using OwnedKey = std::unique_ptr<EVP_PKEY, OsslFree<EVP_PKEY_free>>;
using OwnedCms = std::unique_ptr<CMS_ContentInfo, OsslFree<CMS_ContentInfo_free>>;
using OwnedMdContext = std::unique_ptr<EVP_MD_CTX, OsslFree<EVP_MD_CTX_free>>;

[[noreturn]] inline void ThrowOssl(const char* what) {
  std::string text = what;
  for (unsigned long code = ERR_get_error(); code != 0; code = ERR_get_error()) {
    text += std::string(": ") + ERR_error_string(code, nullptr);
  }
  throw std::runtime_error(text);
}

/// Throws unless `ok`.
inline void Check(bool ok, const char* what) {
  if (!ok) ThrowOssl(what);
}

/// The object that an i2d function encodes.
template <class T, class Encode>
Bytes ToDer(T* object, Encode encode) {
  const int length = encode(object, nullptr);
  Check(length > 0, "encode");
  Bytes der(static_cast<std::size_t>(length));
  unsigned char* out = der.data();
  Check(encode(object, &out) == length, "encode");
  return der;
}

inline OwnedCert ParseCert(const Bytes& der) {
  const unsigned char* in = der.data();
  OwnedCert cert(d2i_X509(nullptr, &in, static_cast<long>(der.size())));
  Check(cert != nullptr, "d2i_X509");
  return cert;
}

/// A stream over the octets, which must outlive it. OpenSSL takes no null pointer, not even for none.
inline OwnedBio ReadFrom(const Bytes& octets) {
  static const unsigned char kNothing = 0;
  OwnedBio stream(
      BIO_new_mem_buf(octets.empty() ? &kNothing : octets.data(), static_cast<int>(octets.size())));
  Check(stream != nullptr, "BIO_new_mem_buf");
  return stream;
}

inline OwnedTime MakeTime(Time time) {
  OwnedTime made(ASN1_TIME_set(nullptr, static_cast<time_t>(time)));
  Check(made != nullptr, "ASN1_TIME_set");
  return made;
}

inline OwnedInteger MakeInteger(const Bytes& magnitude) {
  const OwnedBignum number(BN_bin2bn(magnitude.data(), static_cast<int>(magnitude.size()), nullptr));
  OwnedInteger made(BN_to_ASN1_INTEGER(number.get(), nullptr));
  Check(made != nullptr, "BN_to_ASN1_INTEGER");
  return made;
}

inline const EVP_MD* DigestNamed(const std::string& digest) {
  const EVP_MD* md = EVP_get_digestbyname(digest.c_str());
  Check(md != nullptr, digest.c_str());
  return md;
}

}  // namespace pki

#endif
