#ifndef FWVET_TOOLS_FWPACK_SIGN_H
#define FWVET_TOOLS_FWPACK_SIGN_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/cms.h"
#include "tools/fwpack/utc_time.h"

namespace fwpack {

struct SignOptions {
  std::filesystem::path content{};
  std::filesystem::path package{};
  std::filesystem::path signer_cert{};
  std::filesystem::path signer_key{};
  std::vector<std::filesystem::path> ca{};  // files with certificates among which the issuers are looked for
  std::filesystem::path tsa_cert{};
  std::filesystem::path tsa_key{};
  std::filesystem::path crl{};  // the bundle, carried as it is
  std::string digest = "sha256";
  SignatureForm form = SignatureForm::kDer;
  std::optional<UtcTime> time{};  // of signature, time-stamp and tail records; default: now
};

/// Makes a package: the content, the block with its detached signature, the block with the CRL bundle, 32 end
/// bytes. Message and time-stamp each carry the signing certificate and, when it is among `ca` and no root,
/// its issuer's. The content is read once and in pieces, whatever its size. Throws Error and leaves nothing
/// behind, or what stood at `package` before, when anything fails.
void SignPackage(const SignOptions& options);

}  // namespace fwpack

#endif
