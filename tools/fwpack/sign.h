#ifndef FWVET_TOOLS_FWPACK_SIGN_H
#define FWVET_TOOLS_FWPACK_SIGN_H

#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/cms.h"
#include "tools/fwpack/package.h"
#include "tools/fwpack/tail.h"
#include "tools/fwpack/utc_time.h"

namespace fwpack {

/// How a signature is to look, whoever makes it. What it points at is borrowed and must outlive it.
struct SignatureWish {
  X509* signer = nullptr;
  std::vector<X509*> ca{};  // certificates among which the signer's issuer is looked for
  std::string digest = "sha256";
  SignatureForm form = SignatureForm::kDer;
  std::optional<UtcTime> time{};        // of the signature; default: Now()
  TailFields tail{};                    // without its build time
  std::optional<UtcTime> build_time{};  // default: SOURCE_DATE_EPOCH, and the signature's time without it
};

/// The certificates that a message carries: the signer's and, when it is among `ca` and no root, its
/// issuer's.
std::vector<X509*> CarriedCerts(X509* signer, const std::vector<X509*>& ca);

/// The tail fields of the wish, with its build time.
TailFields TailOf(const SignatureWish& wish, UtcTime signing_time);

struct SignOptions {
  PackageParts parts{};
  SignatureWish signature{};
  EVP_PKEY* key = nullptr;  // the signer's, borrowed
};

/// Makes a package. The content is read once and in pieces, whatever its size. With a given time and a
/// time-stamp made before, the same inputs always give the same bytes. Throws Error and leaves nothing
/// behind, or what stood at the place before, when anything fails.
void SignPackage(const SignOptions& options);

}  // namespace fwpack

#endif
