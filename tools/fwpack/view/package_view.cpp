#include "tools/fwpack/view/package_view.h"

#include <limits>

#include "tools/fwpack/tail.h"
#include "tools/fwpack/view/block_view.h"
#include "tools/fwpack/view/bundle_view.h"
#include "tools/fwpack/view/message_view.h"
#include "tools/fwpack/view/token_view.h"

namespace fwpack {
namespace {

bool HasPayload(const BlockView& block) {
  return block.tail && block.tail->payload_crc_is_good.has_value();
}

void ReadSignatureBlock(PackageFile& file, PackageView* view) {
  view->signature_block = ViewBlock(file, static_cast<std::uint32_t>(view->crl_block->offset));
  const BlockView& block = *view->signature_block;
  if (!block.tail || !block.tail->has_magic) return;
  if (block.offset <= file.device_size()) view->content_length = block.offset;
  if (!HasPayload(block)) return;
  view->signature = ViewMessage(block.payload, block.offset);
  view->token = ViewToken(*view->signature);
}

}  // namespace

PackageView ViewPackage(const std::filesystem::path& path) {
  PackageFile file(path);
  PackageView view;
  view.path = path.string();
  view.size = file.size();
  if (file.size() > std::numeric_limits<std::uint32_t>::max()) {
    view.stops.push_back({.offset = std::numeric_limits<std::uint32_t>::max(),
                          .reason = "a device counts a file's bytes with 32 bits: offsets are those that it "
                                    "takes for the blocks"});
  }
  if (file.device_size() < kEndPadSize + kTailSize) {
    view.stops.push_back({.offset = 0, .reason = "the file is too short to end in a tail record"});
    return view;
  }
  view.crl_block = ViewBlock(file, file.device_size() - static_cast<std::uint32_t>(kEndPadSize));
  if (HasPayload(*view.crl_block)) view.bundle = ViewBundle(view.crl_block->payload, view.crl_block->offset);
  if (view.crl_block->tail && view.crl_block->tail->has_magic) ReadSignatureBlock(file, &view);
  return view;
}

}  // namespace fwpack
