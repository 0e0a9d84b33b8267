#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/fwpack/check/report.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;

Json Head() {
  return {{"schema", "fwpack-check"}, {"schemaVersion", kSchemaVersion}};
}

// What is no UTF-8, in a path, is replaced: the document must be readable whatever a file is called.
std::string Text(const Json& document) {
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json ToJson(const IsolatedRun& run) {
  Json device = Json::object();
  device["exitStatus"] = run.signal != 0 ? Json(nullptr) : Json(run.exit_status);
  device["signal"] = run.signal != 0 ? Json(run.signal) : Json(nullptr);
  device["output"] = VisibleLines(run.output);
  return device;
}

Json CodeJson(LUMO_ERROR_CODE code) {
  if (code == 0) return nullptr;
  char text[16];
  (void)std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned int>(code));
  return {{"value", text}, {"name", lumo_error_name(code)}, {"meaning", lumo_error_meaning(code)}};
}

Json ToJson(const Reason& reason) {
  return {{"step", reason.step},
          {"where", reason.where},
          {"code", CodeJson(reason.code)},
          {"explanation", reason.explanation},
          {"remedy", reason.remedy}};
}

Json ToJson(const Finding& finding) {
  return {{"id", finding.rule->id},
          {"severity", SeverityName(finding.rule->severity)},
          {"where", finding.where},
          {"detail", finding.detail},
          {"explanation", finding.rule->explanation},
          {"remedy", finding.rule->remedy}};
}

Json BundleJson(const std::optional<std::string>& crl) {
  return crl ? Json(crl->size()) : Json(nullptr);
}

Json BackupJson(const CheckResult& result) {
  Json backup = {{"result", BackupName(result.backup)}};
  backup["comparison"] = result.comparison.empty() ? Json(nullptr) : Json(result.comparison);
  backup["bytesBefore"] = BundleJson(result.crl_before);
  backup["bytesAfter"] = BundleJson(result.crl_after);
  return backup;
}

template <class Element>
Json ListJson(const std::vector<Element>& elements) {
  Json list = Json::array();
  for (const Element& element : elements) list.push_back(ToJson(element));
  return list;
}

}  // namespace

std::string CheckJson(const CheckOptions& options, const CheckResult& result) {
  Json document = Head();
  document["package"] = options.package.string();
  document["verdict"] = VerdictName(result);
  document["exitStatus"] = ExitStatusOf(result);
  document["device"] = ToJson(result.run.process);
  document["reasons"] = ListJson(result.reasons);
  document["findings"] = ListJson(result.findings);
  document["backup"] = BackupJson(result);
  return Text(document);
}

std::string CheckErrorJson(const std::string& message) {
  Json document = Head();
  document["exitStatus"] = kInputError;
  document["error"] = {{"message", message}};
  return Text(document);
}

}  // namespace fwpack
