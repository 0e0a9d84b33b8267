#ifndef FWVET_TOOLS_FWPACK_OPENSSL_PTR_H
#define FWVET_TOOLS_FWPACK_OPENSSL_PTR_H

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/ts.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

// Owners of OpenSSL's objects, and the way its failures become errors of the program.
namespace fwpack {

template <auto Free>
struct OpenSslFree {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};

template <class T, auto Free>
using OpenSslPtr = std::unique_ptr<T, OpenSslFree<Free>>;

using BignumPtr = OpenSslPtr<BIGNUM, BN_free>;
using BioPtr = OpenSslPtr<BIO, BIO_free_all>;
using CertPtr = OpenSslPtr<X509, X509_free>;
using CmsPtr = OpenSslPtr<CMS_ContentInfo, CMS_ContentInfo_free>;
using CrlPtr = OpenSslPtr<X509_CRL, X509_CRL_free>;
using ExtensionPtr = OpenSslPtr<X509_EXTENSION, X509_EXTENSION_free>;
using IntegerPtr = OpenSslPtr<ASN1_INTEGER, ASN1_INTEGER_free>;
using KeyPtr = OpenSslPtr<EVP_PKEY, EVP_PKEY_free>;
using NamePtr = OpenSslPtr<X509_NAME, X509_NAME_free>;
using ObjectPtr = OpenSslPtr<ASN1_OBJECT, ASN1_OBJECT_free>;
using RevokedPtr = OpenSslPtr<X509_REVOKED, X509_REVOKED_free>;
using TimePtr = OpenSslPtr<ASN1_TIME, ASN1_TIME_free>;

/// Empties OpenSSL's error queue and returns its reasons in one line, "no reason given" when there is none.
std::string TakeOpenSslReasons();

/// Throws Error with `what` and OpenSSL's reasons unless `ok`.
void RequireOpenSsl(bool ok, const std::string& what);

/// `object` in DER, by its i2d function.
template <class T, class Encode>
std::string ToDer(T* object, Encode encode, const std::string& what) {
  const int length = encode(object, nullptr);
  RequireOpenSsl(length > 0, what);
  std::string der(static_cast<std::size_t>(length), '\0');
  auto* out = reinterpret_cast<unsigned char*>(der.data());
  RequireOpenSsl(encode(object, &out) == length, what);
  return der;
}

}  // namespace fwpack

#endif
