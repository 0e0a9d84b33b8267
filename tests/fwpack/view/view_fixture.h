#ifndef FWVET_TESTS_FWPACK_VIEW_VIEW_FIXTURE_H
#define FWVET_TESTS_FWPACK_VIEW_VIEW_FIXTURE_H

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/run_tool.h"
#include "tests/support/test_world.h"
#include "tools/fwpack/view/inspect.h"

// A maker of packages, and inspections of bytes that lie in a file.
namespace viewtest {

using der::Bytes;

const world::World& Maker();

/// The octets as the views take them.
std::string Text(const Bytes& bytes);

/// What is seen in a file with these bytes.
class Inspector {
 public:
  [[nodiscard]] fwpack::Inspection Inspect(const Bytes& bytes,
                                           fwpack::InspectKind kind = fwpack::InspectKind::kAuto) const;
  [[nodiscard]] std::string Save(const std::string& name, const Bytes& bytes) const;

 private:
  ScratchDir dir_;
};

/// The JSON document of an inspection; adds a failure to the test when it does not fit its schema.
nlohmann::json CheckedJson(const fwpack::Inspection& inspection);
/// The same for a text that should be such a document.
nlohmann::json CheckedJson(const std::string& text);

}  // namespace viewtest

#endif
