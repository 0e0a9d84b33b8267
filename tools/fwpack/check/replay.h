#ifndef FWVET_TOOLS_FWPACK_CHECK_REPLAY_H
#define FWVET_TOOLS_FWPACK_CHECK_REPLAY_H

#include <filesystem>
#include <optional>
#include <string>

#include "verify/lumo.h"

namespace fwpack {

/// The one thing that the device's check of a signature stumbles over.
struct Culprit {
  std::string step{};
  std::string where{};
  LUMO_ERROR_CODE code = LUMO_OK;
  std::string detail{};  // what of it, in this case; may be empty
};

struct ReplayInput {
  std::filesystem::path package{};
  std::optional<std::string> device_crl{};  // taken into the judgement; none: the package's CRLs alone
};

/// Goes through the device's check of the signature step by step with the device's own functions, in a
/// process of its own, and tells where it fails; none when it does not. The root is the one in use (UseRoot).
std::optional<Culprit> FindCulprit(const ReplayInput& input);

}  // namespace fwpack

#endif
