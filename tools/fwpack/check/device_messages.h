#ifndef FWVET_TOOLS_FWPACK_CHECK_DEVICE_MESSAGES_H
#define FWVET_TOOLS_FWPACK_CHECK_DEVICE_MESSAGES_H

#include <optional>
#include <string_view>

#include "verify/lumo.h"

// What the device says with "-v", read back with the very texts that it prints.
namespace fwpack {

/// What the device was doing when it said that it failed.
enum class Stage {
  kPrepare,      // context, memory, its own root
  kPackageCrls,  // load the CRLs of the package
  kSignature,    // judge all of the signature but the content
  kContent,      // hash the content
  kFinal,        // end the verification
  kRecheck,      // judge the signer again with the device's CRLs
};

struct DeviceFailure {
  Stage stage = Stage::kPrepare;
  LUMO_ERROR_CODE code = 0;  // 0 when the message has none
};

/// The last failure that the device told of; none when it told of none. A device CRL that cannot be added is
/// no failure: the device passes over it.
std::optional<DeviceFailure> LastFailure(std::string_view verbose_output);

/// The code with which the device passed over its own CRL; none when it did not.
std::optional<LUMO_ERROR_CODE> DeviceCrlFailure(std::string_view verbose_output);

/// Whether the device summed up that the check failed: it came past the trailer.
bool SaysVerifyFailed(std::string_view verbose_output);

/// How the CRLs compare: "same", "new", "old" or "mix"; empty when the device compared none.
std::string_view CompareResult(std::string_view verbose_output);

}  // namespace fwpack

#endif
