#ifndef FWVET_TOOLS_FWPACK_EXTERNAL_H
#define FWVET_TOOLS_FWPACK_EXTERNAL_H

#include <filesystem>

#include "tools/fwpack/sign.h"

// Signing in two steps, for keys that this program never sees.
namespace fwpack {

struct PrepareOptions {
  std::filesystem::path content{};
  std::filesystem::path to_be_signed{};               // receives the DER of the signed attributes
  std::filesystem::path state{};                      // receives all that AttachSignature() needs to know
  std::vector<std::filesystem::path> other_inputs{};  // certificates: never written over either
  SignatureWish signature{};
  Progress progress{};  // may be empty
};

/// Writes the bytes to be signed and the state. Throws Error and writes neither when anything fails.
void PrepareSignature(const PrepareOptions& options);

struct AttachOptions {
  std::filesystem::path state{};
  std::filesystem::path signature{};  // raw: PKCS #1 v1.5 over the bytes to be signed, as long as the modulus
  PackageParts parts{};
};

/// Makes the package that SignPackage() would have made. Throws Error and leaves nothing behind when the
/// state is damaged, the signature is not that of its certificate over its bytes, or the content is another
/// one.
void AttachSignature(const AttachOptions& options);

}  // namespace fwpack

#endif
