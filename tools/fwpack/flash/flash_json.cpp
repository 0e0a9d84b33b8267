#include "tools/fwpack/flash/flash_json.h"

#include <nlohmann/json.hpp>

#include "tools/fwpack/error.h"
#include "tools/fwpack/flash/flash_text.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;

Json ToJson(const PieceView& piece) {
  return {{"index", piece.index},   {"name", Visible(piece.name)}, {"size", piece.size},
          {"offset", piece.offset}, {"flag", piece.flag},          {"faults", piece.faults}};
}

Json ToJson(const std::vector<PieceView>& pieces) {
  Json list = Json::array();
  for (const PieceView& piece : pieces) list.push_back(ToJson(piece));
  return list;
}

Json HeadJson(const AreaView& area) {
  if (!area.has_mark) return nullptr;
  const PIECES_FILE_HEAD& head = area.file_head;
  return {{"mark", Visible(area.mark)},
          {"mainAddress", head.ulPieceMainAddrBase},
          {"spareAddress", head.ulPieceSpareAddrBase},
          {"areaSize", head.ulPicecSize},
          {"maxFiles", head.ulPieceFileMax},
          {"unitSize", head.ulPieceUnitSize},
          {"nameLength", head.ulPpieceFileNameLength},
          {"headOffset", head.ulPieceHeadOffset},
          {"descriptorOffset", head.ulPieceFileDesOffset},
          {"contentOffset", head.ulPieceContenOffset},
          {"usedUpTo", head.ulPieceContentUsedOffset},
          {"free", head.ulPieceFileMaxLength},
          {"files", head.ulPieceFileDesIndexNext}};
}

Json ToJson(const AreaView& area) {
  return {{"offset", area.offset},
          {"whole", area.is_whole},
          {"good", area.is_good()},
          {"validFlag", area.head.ulValidFlag},
          {"storedCrc", area.head.ulCrc},
          {"computedCrc", area.computed_crc},
          {"size", area.head.ulPieceSize},
          {"formatted", area.has_mark},
          {"head", HeadJson(area)},
          {"faults", area.faults},
          {"descriptors", ToJson(area.pieces)}};
}

Json ToJson(const FlashView& view, const StartUp& start_up) {
  return {{"works", start_up.works},
          {"rewritesMain", start_up.rewrites_main},
          {"rewritesSpare", start_up.rewrites_spare},
          {"losesAll", start_up.loses_all},
          {"action", StartUpText(view)}};
}

Json Head() {
  return {{"schema", "fwpack-flash"}, {"schemaVersion", kSchemaVersion}};
}

}  // namespace

std::string FlashJson(const FlashView& view) {
  Json document = Head();
  document["size"] = view.size;
  document["main"] = ToJson(view.main);
  document["spare"] = ToJson(view.spare);
  document["areasAreEqual"] = view.areas_are_equal;
  document["startUp"] = ToJson(view, view.start_up);
  document["files"] = ToJson(view.start_up.pieces);
  return document.dump(2) + "\n";
}

// What is no UTF-8, in a path, is replaced: the document must be readable whatever a file is called.
std::string FlashErrorJson(const std::string& message) {
  Json document = Head();
  document["exitStatus"] = kInputError;
  document["error"] = {{"message", message}};
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace fwpack
