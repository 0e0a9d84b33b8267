#include "tools/fwpack/flash/flash_json.h"

#include <nlohmann/json.hpp>

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

}  // namespace

std::string FlashJson(const FlashView& view) {
  const Json document = {{"schema", "fwpack-flash"},
                         {"schemaVersion", kSchemaVersion},
                         {"size", view.size},
                         {"main", ToJson(view.main)},
                         {"spare", ToJson(view.spare)},
                         {"areasAreEqual", view.areas_are_equal},
                         {"startUp", ToJson(view, view.start_up)},
                         {"files", ToJson(view.start_up.pieces)}};
  return document.dump(2) + "\n";
}

}  // namespace fwpack
