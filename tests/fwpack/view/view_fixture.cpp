#include "tests/fwpack/view/view_fixture.h"

#include "tests/support/json_schema.h"
#include "tools/fwpack/view/inspect_json.h"

namespace viewtest {
const world::World& Maker() {
  static const world::World maker(pki::SelfSigned(pki::CaSpec("root")));
  return maker;
}

std::string Text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

std::string Inspector::Save(const std::string& name, const Bytes& bytes) const {
  WriteWholeFile(dir_ / name, bytes);
  return dir_ / name;
}

fwpack::Inspection Inspector::Inspect(const Bytes& bytes, fwpack::InspectKind kind) const {
  return fwpack::Inspect(Save("file", bytes), kind);
}

nlohmann::json CheckedJson(const std::string& text) {
  return CheckedDocument("inspect", text);
}

nlohmann::json CheckedJson(const fwpack::Inspection& inspection) {
  return CheckedJson(fwpack::InspectJson(inspection));
}

}  // namespace viewtest
