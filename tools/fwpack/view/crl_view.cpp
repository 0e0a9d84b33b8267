#include "tools/fwpack/view/crl_view.h"

#include "tools/fwpack/view/device_decoder.h"
#include "tools/fwpack/view/name_view.h"
#include "tools/fwpack/view/time_view.h"

namespace fwpack {
namespace {

using EnumeratedPtr = OpenSslPtr<ASN1_ENUMERATED, ASN1_ENUMERATED_free>;

// -1 for a value that no enumeration of this size has.
std::optional<int> ReasonOf(const X509_REVOKED* entry) {
  const EnumeratedPtr reason(
      static_cast<ASN1_ENUMERATED*>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, nullptr, nullptr)));
  if (reason == nullptr) return std::nullopt;
  const long value = ASN1_ENUMERATED_get(reason.get());
  return value >= 0 && value < 256 ? static_cast<int>(value) : -1;
}

std::vector<RevokedView> RevokedIn(X509_CRL* crl) {
  std::vector<RevokedView> views;
  const STACK_OF(X509_REVOKED)* entries = X509_CRL_get_REVOKED(crl);
  for (int i = 0; i < sk_X509_REVOKED_num(entries); ++i) {
    const X509_REVOKED* entry = sk_X509_REVOKED_value(entries, i);
    views.push_back({.serial = ViewSerial(X509_REVOKED_get0_serialNumber(entry)),
                     .date = ViewTime(X509_REVOKED_get0_revocationDate(entry)),
                     .reason = ReasonOf(entry)});
  }
  return views;
}

std::optional<std::string> NumberOf(const X509_CRL* crl) {
  const IntegerPtr number(
      static_cast<ASN1_INTEGER*>(X509_CRL_get_ext_d2i(crl, NID_crl_number, nullptr, nullptr)));
  if (number == nullptr) return std::nullopt;
  return ViewSerial(number.get()).hex;
}

void Fill(X509_CRL* crl, CrlView* view) {
  view->issuer = ViewName(X509_CRL_get_issuer(crl));
  view->this_update = ViewTime(X509_CRL_get0_lastUpdate(crl));
  if (X509_CRL_get0_nextUpdate(crl) != nullptr) view->next_update = ViewTime(X509_CRL_get0_nextUpdate(crl));
  const X509_ALGOR* algorithm = nullptr;
  X509_CRL_get0_signature(crl, nullptr, &algorithm);
  view->signature_algorithm = AlgorithmName(algorithm);
  view->number_hex = NumberOf(crl);
  view->revoked = RevokedIn(crl);
}

}  // namespace

CrlView ViewCrl(std::string_view der, std::uint64_t offset) {
  CrlView view;
  view.offset = offset;
  view.der = der;
  view.device_code = DeviceCrlCode(der);
  const auto* at = reinterpret_cast<const unsigned char*>(der.data());
  view.x509.reset(d2i_X509_CRL(nullptr, &at, static_cast<long>(der.size())));
  if (view.x509 != nullptr) Fill(view.x509.get(), &view);
  (void)TakeOpenSslReasons();
  return view;
}

}  // namespace fwpack
