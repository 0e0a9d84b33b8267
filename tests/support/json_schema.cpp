#include "tests/support/json_schema.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <stdexcept>

namespace {

using nlohmann::json;
using Faults = std::vector<std::string>;

bool IsOfType(const json& value, const std::string& type) {
  if (type == "object") return value.is_object();
  if (type == "array") return value.is_array();
  if (type == "string") return value.is_string();
  if (type == "boolean") return value.is_boolean();
  if (type == "null") return value.is_null();
  if (type == "integer") return value.is_number_integer();
  throw std::invalid_argument("type " + type);
}

// Long texts are matched in pieces, for std::regex recurses with each character: patterns of long texts must
// demand no more of the whole than of its pieces of an even length.
bool Matches(const std::string& text, const std::string& pattern) {
  static std::map<std::string, std::regex> cache;
  const std::regex& regex = cache.try_emplace(pattern, pattern).first->second;
  constexpr std::size_t kPiece = 1000;
  for (std::size_t at = 0; at == 0 || at < text.size(); at += kPiece) {
    if (!std::regex_search(text.substr(at, kPiece), regex)) return false;
  }
  return true;
}

class Validator {
 public:
  explicit Validator(const json& root) : root_(root) {}

  Faults Check(const json& schema, const json& value, const std::string& at) const {
    RequireKnown(schema);
    Faults faults;
    CheckValue(schema, value, at, &faults);
    if (value.is_object()) CheckObject(schema, value, at, &faults);
    if (value.is_array() && schema.contains("items")) CheckItems(schema["items"], value, at, &faults);
    CheckOthers(schema, value, at, &faults);
    return faults;
  }

 private:
  static void RequireKnown(const json& schema) {
    static const std::set<std::string> known{
        "$schema", "$id",   "$defs",   "title",      "description", "type",
        "const",   "enum",  "pattern", "minimum",    "maximum",     "items",
        "$ref",    "oneOf", "anyOf",   "properties", "required",    "additionalProperties",
        "not"};
    for (const auto& [key, value] : schema.items()) {
      if (!known.contains(key)) throw std::invalid_argument("keyword " + key);
    }
  }

  static void CheckValue(const json& schema, const json& value, const std::string& at, Faults* faults) {
    if (schema.contains("type") && !HasType(schema["type"], value)) faults->push_back(at + ": type");
    if (schema.contains("const") && value != schema["const"]) faults->push_back(at + ": const");
    if (schema.contains("enum")) {
      const json& all = schema["enum"];
      if (std::find(all.begin(), all.end(), value) == all.end()) faults->push_back(at + ": enum");
    }
    if (schema.contains("pattern") && value.is_string() &&
        !Matches(value.get<std::string>(), schema["pattern"].get<std::string>()))
      faults->push_back(at + ": pattern");
    if (!value.is_number()) return;
    if (schema.contains("minimum") && value < schema["minimum"]) faults->push_back(at + ": minimum");
    if (schema.contains("maximum") && value > schema["maximum"]) faults->push_back(at + ": maximum");
  }

  static bool HasType(const json& type, const json& value) {
    if (type.is_string()) return IsOfType(value, type.get<std::string>());
    return std::any_of(type.begin(), type.end(),
                       [&](const json& each) { return IsOfType(value, each.get<std::string>()); });
  }

  void CheckObject(const json& schema, const json& value, const std::string& at, Faults* faults) const {
    const json properties = schema.value("properties", json::object());
    for (const json& name : schema.value("required", json::array())) {
      if (!value.contains(name.get<std::string>())) faults->push_back(at + ": no " + name.get<std::string>());
    }
    for (const auto& [name, member] : value.items()) {
      if (properties.contains(name)) {
        Append(faults, Check(properties[name], member, at + "/" + name));
      } else if (schema.contains("additionalProperties")) {
        faults->push_back(at + ": unknown " + name);
      }
    }
  }

  void CheckItems(const json& schema, const json& value, const std::string& at, Faults* faults) const {
    for (std::size_t i = 0; i < value.size(); ++i)
      Append(faults, Check(schema, value[i], at + "/" + std::to_string(i)));
  }

  void CheckOthers(const json& schema, const json& value, const std::string& at, Faults* faults) const {
    if (schema.contains("$ref")) {
      const auto name = schema["$ref"].get<std::string>();
      Append(faults, Check(root_.at(json::json_pointer(name.substr(1))), value, at));
    }
    if (schema.contains("not") && Check(schema["not"], value, at).empty()) faults->push_back(at + ": not");
    if (schema.contains("oneOf") && Fitting(schema["oneOf"], value, at, faults) != 1)
      faults->push_back(at + ": oneOf");
    if (schema.contains("anyOf") && Fitting(schema["anyOf"], value, at, faults) == 0)
      faults->push_back(at + ": anyOf");
  }

  // How many of the schemas fit. The faults of all are told when none does.
  int Fitting(const json& schemas, const json& value, const std::string& at, Faults* faults) const {
    int fitting = 0;
    Faults all;
    for (const json& each : schemas) {
      const Faults found = Check(each, value, at);
      fitting += found.empty() ? 1 : 0;
      Append(&all, found);
    }
    if (fitting == 0) Append(faults, all);
    return fitting;
  }

  static void Append(Faults* faults, const Faults& more) {
    faults->insert(faults->end(), more.begin(), more.end());
  }

  const json& root_;
};

}  // namespace

std::vector<std::string> SchemaFaults(const nlohmann::json& schema, const nlohmann::json& document) {
  return Validator(schema).Check(schema, document, "");
}

nlohmann::json CheckedDocument(const std::string& command, const std::string& text) {
  std::ifstream file(FWVET_DOCS "/fwpack-" + command + ".schema.json");
  const nlohmann::json schema = nlohmann::json::parse(file);
  const nlohmann::json document = nlohmann::json::parse(text);
  for (const std::string& fault : SchemaFaults(schema, document)) ADD_FAILURE() << fault;
  return document;
}
