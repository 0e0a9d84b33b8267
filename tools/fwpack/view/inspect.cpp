#include "tools/fwpack/view/inspect.h"

#include <algorithm>
#include <iterator>

#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/tail.h"
#include "tools/fwpack/view/block_view.h"
#include "tools/fwpack/view/bundle_view.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/decode_stop.h"
#include "tools/fwpack/view/detect.h"
#include "tools/fwpack/view/message_view.h"
#include "tools/fwpack/view/package_view.h"
#include "tools/fwpack/view/pem_block.h"
#include "tools/fwpack/view/token_view.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

constexpr const char* kKinds[] = {"auto", "package", "tail", "bundle", "cert", "signature"};
constexpr const char* kReasons[] = {"unspecified",        "keyCompromise", "cACompromise",
                                    "affiliationChanged", "superseded",    "cessationOfOperation",
                                    "certificateHold",    "unknown",       "removeFromCRL",
                                    "privilegeWithdrawn", "aACompromise"};

void Add(std::vector<Stop>* all, const std::vector<Stop>& stops) {
  all->insert(all->end(), stops.begin(), stops.end());
}

void Add(std::vector<Stop>* all, const std::optional<Stop>& stop) {
  if (stop) all->push_back(*stop);
}

void AddMessageStops(std::vector<Stop>* all, const std::optional<MessageView>& message) {
  if (!message) return;
  Add(all, message->stop);
  for (const CertView& cert : message->certs) {
    if (cert.x509 == nullptr)
      all->push_back({.offset = cert.offset, .reason = "a certificate cannot be decoded"});
  }
}

void AddTokenStops(std::vector<Stop>* all, const std::optional<TokenView>& token) {
  if (!token) return;
  Add(all, token->stop);
  if (token->message.stop) {
    all->push_back({.offset = token->message.stop->offset,
                    .reason = "in the time-stamp token, " + token->message.stop->reason});
  }
}

void AddPackageStops(std::vector<Stop>* all, const PackageView& package) {
  Add(all, package.stops);
  if (package.crl_block) Add(all, package.crl_block->stop);
  if (package.signature_block) Add(all, package.signature_block->stop);
  if (package.bundle) Add(all, package.bundle->stops);
  AddMessageStops(all, package.signature);
  AddTokenStops(all, package.token);
}

void ReadTail(const std::string& bytes, Inspection* result) {
  if (bytes.size() < kTailSize) {
    result->stops.push_back({.offset = 0, .reason = "a tail record has 68 bytes"});
    return;
  }
  result->tail = ViewTail(std::string_view(bytes).substr(0, kTailSize), 0);
  if (!result->tail->has_magic) result->stops.push_back({.offset = 0, .reason = "the magic is missing"});
  if (!result->tail->crc_is_good) {
    result->stops.push_back({.offset = offsetof(SEFS, wEFSCrc), .reason = "the tail record's CRC is wrong"});
  }
  if (bytes.size() > kTailSize)
    result->stops.push_back({.offset = kTailSize, .reason = "bytes behind the tail record were not read"});
}

void ReadCert(const std::string& bytes, Inspection* result) {
  std::string der = bytes;
  std::uint64_t offset = 0;
  if (bytes.find(kPemStart) != std::string::npos && !bytes.starts_with('\x30')) {
    const auto block = NextPemBlock(bytes, 0);
    offset = block->offset;
    if (!block->der) {
      result->stops.push_back({.offset = offset, .reason = block->fault});
      return;
    }
    der = *block->der;
  }
  result->cert = ViewCert(der, offset);
  if (result->cert->x509 != nullptr) return;
  const Stop stop = DecodeStop("certificate", der, "");
  const bool is_pem = der != bytes;
  result->stops.push_back({.offset = offset + (is_pem ? 0 : stop.offset), .reason = stop.reason});
}

void ReadPart(const std::string& bytes, Inspection* result) {
  switch (result->kind) {
    case InspectKind::kTail:
      return ReadTail(bytes, result);
    case InspectKind::kCert:
      return ReadCert(bytes, result);
    case InspectKind::kBundle:
      result->bundle = ViewBundle(bytes);
      return Add(&result->stops, result->bundle->stops);
    default:
      result->signature = ViewMessage(bytes);
      result->token = ViewToken(*result->signature);
      AddMessageStops(&result->stops, result->signature);
      AddTokenStops(&result->stops, result->token);
  }
}

void AddBlock(std::vector<Region>* regions, const std::string& name, const std::optional<BlockView>& block) {
  if (!block || !block->tail || !block->tail->has_magic) return;
  const std::uint64_t end = block->offset + block->tail->record.dwCodeLen;
  if (block->tail->payload_crc_is_good) {
    regions->push_back({.name = name + " payload", .offset = block->offset, .length = block->payload.size()});
    if (end < block->tail->offset) {
      regions->push_back(
          {.name = name + " gap, not looked at", .offset = end, .length = block->tail->offset - end});
    }
  }
  regions->push_back({.name = name + " tail record", .offset = block->tail->offset, .length = kTailSize});
}

}  // namespace

const char* KindName(InspectKind kind) {
  return kKinds[static_cast<std::size_t>(kind)];
}

InspectKind KindNamed(const std::string& name) {
  const auto* found = std::find(std::begin(kKinds), std::end(kKinds), name);
  if (found == std::end(kKinds)) throw Error("'" + Visible(name) + "' is no kind of file");
  return static_cast<InspectKind>(found - std::begin(kKinds));
}

Inspection Inspect(const std::filesystem::path& path, InspectKind kind) {
  PackageFile file(path);
  Inspection result{.path = path.string(), .size = file.size(), .kind = kind};
  if (kind == InspectKind::kAuto && EndsLikeAPackage(file)) result.kind = InspectKind::kPackage;
  std::string bytes;
  if (result.kind != InspectKind::kPackage && file.size() <= kMaxPayload)
    bytes = ReadSmallFile(path, kMaxPayload);
  if (result.kind == InspectKind::kAuto) result.kind = DetectKind(bytes);
  if (result.kind == InspectKind::kPackage) {
    result.package = ViewPackage(path);
    AddPackageStops(&result.stops, *result.package);
    return result;
  }
  if (file.size() > kMaxPayload) {
    throw Error(path.string() + ": longer than " + std::to_string(kMaxPayload) + " bytes, too long for a " +
                KindName(result.kind));
  }
  ReadPart(bytes, &result);
  return result;
}

std::vector<Region> LayoutOf(const PackageView& package) {
  std::vector<Region> regions;
  const auto& signature = package.signature_block;
  if (signature && signature->tail && signature->tail->has_magic && signature->offset <= package.size)
    regions.push_back({.name = "signed content", .offset = 0, .length = package.content_length});
  AddBlock(&regions, "signature", signature);
  AddBlock(&regions, "CRL", package.crl_block);
  if (package.crl_block)
    regions.push_back({.name = "end pad", .offset = package.size - kEndPadSize, .length = kEndPadSize});
  return regions;
}

const char* ReasonName(int reason) {
  const auto index = static_cast<std::size_t>(reason);
  return reason < 0 || index >= std::size(kReasons) ? "unknown" : kReasons[index];
}

bool IsReadDifferently(const TimeView& time) {
  return time.meant != time.device;
}

std::string FieldText(const std::uint8_t* field, std::size_t size) {
  std::string text(field, field + size);
  text.resize(text.find_last_not_of('\0') + 1);
  return Visible(text);
}

}  // namespace fwpack
