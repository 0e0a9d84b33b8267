#include "tests/fwpack/view/view_fixture.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/fwpack/view/json_schema.h"
#include "tools/fwpack/view/inspect_json.h"

namespace viewtest {
namespace {

nlohmann::json Schema() {
  std::ifstream file(FWVET_INSPECT_SCHEMA);
  return nlohmann::json::parse(file);
}

}  // namespace

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
  static const nlohmann::json schema = Schema();
  const nlohmann::json document = nlohmann::json::parse(text);
  for (const std::string& fault : SchemaFaults(schema, document)) ADD_FAILURE() << fault;
  return document;
}

nlohmann::json CheckedJson(const fwpack::Inspection& inspection) {
  return CheckedJson(fwpack::InspectJson(inspection));
}

}  // namespace viewtest
