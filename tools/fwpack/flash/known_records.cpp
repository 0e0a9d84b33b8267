#include "tools/fwpack/flash/known_records.h"

#include <algorithm>
#include <cstring>

#include "app/device_state.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

std::string ModeText(const startup_check_info_desc_t& record) {
  if (record.magic_word != kStartupMagic) return "not valid; counts as normal";
  if (record.check_mode == kCheckModeAdmitPlain) return "admits files without a trailer";
  if (record.check_mode == kCheckModeNormal) return "normal checking";
  return "mode " + std::to_string(record.check_mode) + ", which counts as normal";
}

std::string StartupMeaning(std::string_view content) {
  startup_check_info_desc_t record{};
  if (content.size() < sizeof record) return {};
  std::memcpy(&record, content.data(), sizeof record);
  return "start-up record: " + ModeText(record);
}

std::string CrlMeaning(std::string_view content) {
  if (content.size() < sizeof(LUMO_File)) return {};
  std::uint32_t length = 0;
  std::memcpy(&length, content.data() + offsetof(LUMO_File, ulFileLen), sizeof length);
  const std::string_view room = content.substr(0, kDeviceCrlRoom);
  const bool is_cleared = std::all_of(room.begin(), room.end(), [](char byte) { return byte == 0; });
  std::string meaning = "device CRL of " + std::to_string(length) + " bytes";
  if (is_cleared) meaning += ", without its bytes: counts as none";
  if (!is_cleared && length > kDeviceCrlRoom)
    meaning += ", of which it reads " + std::to_string(kDeviceCrlRoom);
  return meaning;
}

}  // namespace

std::string MeaningOf(const std::string& name, std::string_view content) {
  if (name == kStartupCheckPiece) return StartupMeaning(content);
  if (name == kDeviceCrlPiece) return CrlMeaning(content);
  return {};
}

std::string DeviceCrlRecord(const std::string& bundle) {
  if (bundle.empty()) throw Error("the CRL bundle is empty");
  if (bundle.size() > kDeviceCrlRoom) {
    throw Error("the CRL bundle has " + std::to_string(bundle.size()) + " bytes; the device keeps at most " +
                std::to_string(kDeviceCrlRoom));
  }
  const auto length = static_cast<std::uint32_t>(bundle.size());
  std::string record(sizeof(LUMO_File), '\0');
  record.replace(0, bundle.size(), bundle);
  record.replace(offsetof(LUMO_File, ulFileLen), sizeof length, reinterpret_cast<const char*>(&length),
                 sizeof length);
  return record;
}

}  // namespace fwpack
