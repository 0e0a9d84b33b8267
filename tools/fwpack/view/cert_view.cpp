#include "tools/fwpack/view/cert_view.h"

#include <openssl/core_names.h>

#include "tools/fwpack/pki.h"
#include "tools/fwpack/view/device_decoder.h"
#include "tools/fwpack/view/name_view.h"
#include "tools/fwpack/view/time_view.h"

namespace fwpack {
namespace {

using BasicPtr = OpenSslPtr<BASIC_CONSTRAINTS, BASIC_CONSTRAINTS_free>;
using BitsPtr = OpenSslPtr<ASN1_BIT_STRING, ASN1_BIT_STRING_free>;
using PurposesPtr = OpenSslPtr<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free>;

// In the order of their bits (RFC 5280, 4.2.1.3).
constexpr const char* kKeyUsages[] = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                      "dataEncipherment", "keyAgreement",   "keyCertSign",
                                      "cRLSign",          "encipherOnly",   "decipherOnly"};

template <class Ptr>
Ptr ExtensionOf(const X509* cert, int nid) {
  return Ptr(static_cast<typename Ptr::pointer>(X509_get_ext_d2i(cert, nid, nullptr, nullptr)));
}

std::vector<std::string> KeyUsagesOf(const X509* cert) {
  std::vector<std::string> names;
  const auto bits = ExtensionOf<BitsPtr>(cert, NID_key_usage);
  int bit = 0;
  for (const char* name : kKeyUsages) {
    if (bits != nullptr && ASN1_BIT_STRING_get_bit(bits.get(), bit) == 1) names.emplace_back(name);
    ++bit;
  }
  return names;
}

std::vector<std::string> PurposesOf(const X509* cert) {
  std::vector<std::string> names;
  const auto purposes = ExtensionOf<PurposesPtr>(cert, NID_ext_key_usage);
  for (int i = 0; purposes != nullptr && i < sk_ASN1_OBJECT_num(purposes.get()); ++i)
    names.push_back(ShortName(sk_ASN1_OBJECT_value(purposes.get(), i)));
  return names;
}

bool IsCa(const X509* cert) {
  const auto constraints = ExtensionOf<BasicPtr>(cert, NID_basic_constraints);
  return constraints != nullptr && constraints->ca != 0;
}

// 0 for what no certificate has.
int VersionOf(const X509* cert) {
  const long version = X509_get_version(cert);
  return version >= 0 && version < 256 ? static_cast<int>(version) + 1 : 0;
}

void FillKey(const X509* cert, CertView* view) {
  ASN1_OBJECT* algorithm = nullptr;
  X509_PUBKEY_get0_param(&algorithm, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(cert));
  view->key_algorithm = AlgorithmName(algorithm);
  const EVP_PKEY* key = X509_get0_pubkey(cert);
  BIGNUM* number = nullptr;
  if (key == nullptr || EVP_PKEY_get_base_id(key) != EVP_PKEY_RSA ||
      EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_N, &number) != 1)
    return;
  const BignumPtr modulus(number);
  view->key_bits = static_cast<std::size_t>(BN_num_bits(number));
  view->modulus_bytes = static_cast<std::size_t>(BN_num_bytes(number));
}

void Fill(const X509* cert, CertView* view) {
  view->subject = ViewName(X509_get_subject_name(cert));
  view->issuer = ViewName(X509_get_issuer_name(cert));
  view->serial = ViewSerial(X509_get0_serialNumber(cert));
  view->version = VersionOf(cert);
  view->not_before = ViewTime(X509_get0_notBefore(cert));
  view->not_after = ViewTime(X509_get0_notAfter(cert));
  view->signature_algorithm = AlgorithmName(X509_get0_tbs_sigalg(cert));
  view->is_ca = IsCa(cert);
  view->key_usages = KeyUsagesOf(cert);
  view->extended_key_usages = PurposesOf(cert);
  view->is_self_issued = IsSelfIssued(cert);
  FillKey(cert, view);
}

}  // namespace

CertView ViewCert(std::string_view der, std::uint64_t offset) {
  CertView view;
  view.offset = offset;
  view.der = der;
  view.device_code = DeviceCertCode(der);
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  view.x509.reset(d2i_X509(nullptr, &at, static_cast<long>(der.size())));
  if (view.x509 != nullptr) Fill(view.x509.get(), &view);
  (void)TakeOpenSslReasons();
  return view;
}

}  // namespace fwpack
