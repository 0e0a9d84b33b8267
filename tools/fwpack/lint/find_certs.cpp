#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include "tools/fwpack/lint/finders.h"
#include "tools/fwpack/lint/loose_booleans.h"
#include "tools/fwpack/lint/objects.h"
#include "tools/fwpack/view/device_decoder.h"

namespace fwpack {
namespace {

constexpr std::size_t kMaxRdns = 10;
constexpr std::size_t kMaxModulusBytes = 512;
constexpr std::size_t kModulusUnit = 8;
constexpr std::size_t kMaxSerial = 32;
constexpr std::array<std::string_view, 3> kSignatures = {"sha256WithRSAEncryption", "sha384WithRSAEncryption",
                                                         "sha512WithRSAEncryption"};

using Detail = std::optional<std::string>;

bool IsKnown(const std::string& signature) {
  return std::find(kSignatures.begin(), kSignatures.end(), signature) != kSignatures.end();
}

bool Has(const std::vector<std::string>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Each certificate once, wherever else it is carried.
std::vector<LintCert> Distinct(const LintInput& input) {
  std::vector<LintCert> certs = PackageCerts(input);
  std::set<std::string_view> seen;
  std::erase_if(certs, [&seen](const LintCert& cert) { return !seen.insert(cert.cert->der).second; });
  return certs;
}

Places DecodedThat(const LintInput& input, const std::function<Detail(const CertView&)>& breaks) {
  return CertsThat(Distinct(input), [&breaks](const CertView& cert) {
    return cert.x509 == nullptr ? Detail() : breaks(cert);
  });
}

// What the rules on names, keys and versions tell already.
bool IsToldOtherwise(const CertView& cert) {
  return cert.version == 1 || cert.subject.rdns > kMaxRdns || cert.issuer.rdns > kMaxRdns ||
         (cert.x509 != nullptr && cert.key_bits == 0);
}

// The purpose that a message's signer needs.
const char* PurposeOf(const LintMessage& message) {
  return std::string_view(message.where) == "signature" ? "codeSigning" : "timeStamping";
}

template <class Breaks>
Places SignersThat(const LintInput& input, Breaks breaks) {
  const std::vector<LintCert> certs = RunCerts(input);
  Places places;
  for (const LintMessage& message : Messages(input)) {
    const LintCert* signer = FindSigner(*message.message, certs);
    if (signer == nullptr) continue;
    if (Detail detail = breaks(*signer->cert, message)) places.push_back({signer->where, std::move(*detail)});
  }
  return places;
}

void AddSerial(const SerialView& serial, const std::string& where, Places& places) {
  if (serial.octets.size() <= kMaxSerial) return;
  places.push_back({.where = where, .detail = "has " + std::to_string(serial.octets.size()) + " bytes"});
}

}  // namespace

Places FindOldCertificates(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) { return cert.version == 1 ? Detail("") : Detail(); });
}

Places FindUndecodableCerts(const LintInput& input) {
  return CertsThat(Distinct(input), [](const CertView& cert) {
    return cert.device_code == LUMO_OK || IsToldOtherwise(cert) ? Detail()
                                                                : Detail(DeviceCodeText(cert.device_code));
  });
}

Places FindTooManyRdns(const LintInput& input) {
  Places places = DecodedThat(input, [](const CertView& cert) {
    const std::size_t most = std::max(cert.subject.rdns, cert.issuer.rdns);
    return most > kMaxRdns ? Detail("has " + std::to_string(most)) : Detail();
  });
  for (const Place& place : CrlsThat(PackageCrls(input), [](const CrlView& crl) {
         return crl.issuer.rdns > kMaxRdns ? Detail("has " + std::to_string(crl.issuer.rdns)) : Detail();
       })) {
    places.push_back(place);
  }
  return places;
}

Places FindForeignKeys(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) {
    return cert.key_bits == 0 ? Detail("key " + cert.key_algorithm) : Detail();
  });
}

Places FindLongKeys(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) {
    return cert.modulus_bytes > kMaxModulusBytes ? Detail(std::to_string(cert.key_bits) + " bits") : Detail();
  });
}

Places FindOddKeys(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) {
    return cert.modulus_bytes % kModulusUnit != 0 ? Detail(std::to_string(cert.modulus_bytes) + " bytes")
                                                  : Detail();
  });
}

Places FindUnsupportedCertDigests(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) {
    return !cert.is_self_issued && !IsKnown(cert.signature_algorithm) ? Detail(cert.signature_algorithm)
                                                                      : Detail();
  });
}

Places FindUnsupportedSelfIssued(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) {
    return cert.is_self_issued && !IsKnown(cert.signature_algorithm) ? Detail(cert.signature_algorithm)
                                                                     : Detail();
  });
}

Places FindCarriedRoots(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) {
    return cert.is_self_issued && IsKnown(cert.signature_algorithm) ? Detail("") : Detail();
  });
}

Places FindWrongPurposes(const LintInput& input) {
  return SignersThat(input, [](const CertView& cert, const LintMessage& message) {
    const std::vector<std::string>& purposes = cert.extended_key_usages;
    const std::string first = purposes.empty() ? "none" : purposes.front();
    return first == PurposeOf(message)
               ? Detail()
               : Detail("wanted " + std::string(PurposeOf(message)) + ", first is " + first);
  });
}

Places FindMissingDigitalSignature(const LintInput& input) {
  return SignersThat(input, [](const CertView& cert, const LintMessage& /*message*/) {
    return Has(cert.key_usages, "digitalSignature") ? Detail() : Detail("");
  });
}

Places FindDecipherOnly(const LintInput& input) {
  return DecodedThat(input, [](const CertView& cert) {
    return Has(cert.key_usages, "decipherOnly") ? Detail("") : Detail();
  });
}

Places FindLooseBooleans(const LintInput& input) {
  const auto detail = [](const std::string& der) {
    const std::size_t loose = CountLooseBooleans(der);
    return loose == 0 ? Detail() : Detail(Count(loose, "BOOLEAN", "BOOLEANs"));
  };
  Places places = CertsThat(Distinct(input), [&detail](const CertView& cert) { return detail(cert.der); });
  for (const Place& place :
       CrlsThat(PackageCrls(input), [&detail](const CrlView& crl) { return detail(crl.der); })) {
    places.push_back(place);
  }
  return places;
}

Places FindLongSerials(const LintInput& input) {
  Places places;
  for (const LintCert& cert : Distinct(input)) AddSerial(cert.cert->serial, cert.where, places);
  for (const LintCrl& crl : PackageCrls(input)) {
    for (const RevokedView& revoked : crl.crl->revoked) {
      AddSerial(revoked.serial, "entry " + revoked.serial.hex + " in the " + crl.where, places);
    }
  }
  return places;
}

}  // namespace fwpack
