#include <algorithm>
#include <array>
#include <string_view>

#include "tools/fwpack/lint/finders.h"
#include "tools/fwpack/lint/objects.h"
#include "tools/fwpack/view/device_decoder.h"

namespace fwpack {
namespace {

constexpr std::size_t kMaxEntries = 20;
constexpr std::size_t kMaxRdns = 10;
constexpr std::array<std::string_view, 3> kSignatures = {"sha256WithRSAEncryption", "sha384WithRSAEncryption",
                                                         "sha512WithRSAEncryption"};

using Detail = std::optional<std::string>;

bool IsToldOtherwise(const CrlView& crl) {
  return crl.revoked.size() > kMaxEntries || crl.issuer.rdns > kMaxRdns ||
         (crl.x509 != nullptr && !crl.next_update);
}

Places DecodedThat(const LintInput& input, const std::function<Detail(const CrlView&)>& breaks) {
  return CrlsThat(PackageCrls(input),
                  [&breaks](const CrlView& crl) { return crl.x509 == nullptr ? Detail() : breaks(crl); });
}

bool SignsCrls(const CertView& cert) {
  return std::find(cert.key_usages.begin(), cert.key_usages.end(), "cRLSign") != cert.key_usages.end();
}

// Whether there are certificates of the CRL's issuer, and none of them may sign CRLs.
bool HasOnlyUnfitIssuers(const CrlView& crl, const std::vector<LintCert>& certs) {
  bool found = false;
  for (const LintCert& cert : certs) {
    if (cert.cert->x509 == nullptr || cert.cert->subject.der != crl.issuer.der) continue;
    if (SignsCrls(*cert.cert)) return false;
    found = true;
  }
  return found;
}

}  // namespace

Places FindTooManyEntries(const LintInput& input) {
  return DecodedThat(input, [](const CrlView& crl) {
    return crl.revoked.size() > kMaxEntries ? Detail("holds " + Count(crl.revoked.size(), "entry", "entries"))
                                            : Detail();
  });
}

Places FindCrlsWithoutNextUpdate(const LintInput& input) {
  return DecodedThat(input, [](const CrlView& crl) { return crl.next_update ? Detail() : Detail(""); });
}

Places FindUndecodableCrls(const LintInput& input) {
  return CrlsThat(PackageCrls(input), [](const CrlView& crl) {
    return crl.device_code == LUMO_OK || IsToldOtherwise(crl) ? Detail()
                                                              : Detail(DeviceCodeText(crl.device_code));
  });
}

Places FindUnsupportedCrlDigests(const LintInput& input) {
  return DecodedThat(input, [](const CrlView& crl) {
    const bool known =
        std::find(kSignatures.begin(), kSignatures.end(), crl.signature_algorithm) != kSignatures.end();
    return known ? Detail() : Detail(crl.signature_algorithm);
  });
}

Places FindEndedCrls(const LintInput& input) {
  const std::optional<UtcTime> stamped = StampedTime(input);
  if (!stamped) return {};
  return DecodedThat(input, [&stamped](const CrlView& crl) {
    const bool ended = crl.next_update && crl.next_update->device && *crl.next_update->device < *stamped;
    return ended ? Detail("ends " + FormatUtcTime(*crl.next_update->device) + ", stamped " +
                          FormatUtcTime(*stamped))
                 : Detail();
  });
}

Places FindIssuersWithoutCrlSign(const LintInput& input) {
  const std::vector<LintCert> certs = RunCerts(input);
  return DecodedThat(input, [&certs](const CrlView& crl) {
    return HasOnlyUnfitIssuers(crl, certs) ? Detail("") : Detail();
  });
}

}  // namespace fwpack
