#ifndef FWVET_TOOLS_FWPACK_LINT_CRL_ISSUERS_H
#define FWVET_TOOLS_FWPACK_LINT_CRL_ISSUERS_H

#include <cstddef>
#include <map>

#include "tools/fwpack/view/views.h"

namespace fwpack {

struct Scene;

/// What a search for the issuer of a CRL came to.
struct CrlIssuer {
  bool is_known = true;       // false: given up, and nothing can be said of the CRL's issuer
  bool device_finds = false;  // the device finds one
  /// If it does not: a certificate that bears the issuer's name and whose key verifies the CRL, whatever its
  /// usages; or null.
  const CertView* key_owner = nullptr;
};

/// The signatures that are verified in one run to tell who issued the CRLs: more than a package with as many
/// CRLs and certificates as the device takes has use for, and few enough that one made to cost time costs
/// none.
constexpr std::size_t kMaxVerifications = 256;

/// Finds the issuers of the CRLs of one scene, each once.
class CrlIssuers {
 public:
  explicit CrlIssuers(std::size_t most_verifications = kMaxVerifications) : left_(most_verifications) {}

  /// `crl` must have been decoded and live as long as this object. Leaves OpenSSL's error queue empty.
  const CrlIssuer& Of(const Scene& scene, const CrlView& crl);

 private:
  CrlIssuer Search(const Scene& scene, const CrlView& crl);

  std::map<const CrlView*, CrlIssuer> found_{};
  std::size_t left_;
};

}  // namespace fwpack

#endif
