#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz/memory_file.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/view/inspect_json.h"
#include "tools/fwpack/view/inspect_text.h"

namespace {

// What is shown to people has no character that a terminal obeys.
void CheckText(const std::string& text) {
  const bool is_harmless = std::all_of(text.begin(), text.end(), [](char character) {
    return character == '\n' || (character >= ' ' && character <= '~');
  });
  if (!is_harmless || text.back() != '\n') std::abort();
}

void Look(const std::string& path, fwpack::InspectKind kind) {
  const fwpack::Inspection inspection = fwpack::Inspect(path, kind);
  CheckText(fwpack::InspectText(inspection));
  CheckText(fwpack::InspectJson(inspection));
  const int status = inspection.stops.empty() ? fwpack::kAccepted : fwpack::kInputError;
  if (fwpack::ExitStatusOf(inspection) != status) std::abort();
}

}  // namespace

// What is shown of a file: as what it looks like, and as a kind that its size chooses. Broken bytes are no
// error: nothing may be thrown.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  constexpr fwpack::InspectKind kKinds[] = {fwpack::InspectKind::kPackage, fwpack::InspectKind::kTail,
                                            fwpack::InspectKind::kBundle, fwpack::InspectKind::kCert,
                                            fwpack::InspectKind::kSignature};
  file.SetContent(data, size);
  Look(file.path(), fwpack::InspectKind::kAuto);
  Look(file.path(), kKinds[size % std::size(kKinds)]);
  return 0;
}
