#ifndef FWVET_TOOLS_FWPACK_CHECK_SIGNATURE_REPLAY_H
#define FWVET_TOOLS_FWPACK_CHECK_SIGNATURE_REPLAY_H

#include <optional>
#include <string_view>

#include "tools/fwpack/check/replay.h"
#include "verify/lumo_vrf.h"

namespace fwpack {

/// Does what lumo_verify_detach_signature_begin does, step by step, and tells the step that fails. Leaves the
/// context as begin would: certificates stored, base time set. `signature` must live as long as the context.
std::optional<Culprit> ReplaySignature(LUMO_VRF* vrf, std::string_view signature);

}  // namespace fwpack

#endif
