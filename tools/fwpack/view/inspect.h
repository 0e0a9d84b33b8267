#ifndef FWVET_TOOLS_FWPACK_VIEW_INSPECT_H
#define FWVET_TOOLS_FWPACK_VIEW_INSPECT_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/fwpack/view/views.h"

// What "fwpack inspect" shows: one file of some kind, read as far as it goes.
namespace fwpack {

enum class InspectKind { kAuto, kPackage, kTail, kBundle, kCert, kSignature };

/// "auto", "package", "tail", "bundle", "cert", "signature".
const char* KindName(InspectKind kind);
/// The kind of that name. Throws Error for another name.
InspectKind KindNamed(const std::string& name);

/// A file and what its kind has; the rest stays absent.
struct Inspection {
  std::string path{};
  std::uint64_t size = 0;
  InspectKind kind = InspectKind::kPackage;  // never kAuto
  std::optional<PackageView> package{};
  std::optional<TailView> tail{};
  std::optional<BundleView> bundle{};
  std::optional<CertView> cert{};
  std::optional<MessageView> signature{};
  std::optional<TokenView> token{};
  std::vector<Stop> stops{};  // all of them, those of the views included
};

/// Looks into a file; kAuto finds out what it is. A file that is nothing else is taken for a package. Throws
/// Error when the file cannot be read, or is no package and longer than a payload may be.
Inspection Inspect(const std::filesystem::path& path, InspectKind kind);

/// A part of a package's bytes.
struct Region {
  std::string name{};
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
};

/// The parts that are known, in the order of the file.
std::vector<Region> LayoutOf(const PackageView& package);

/// The name of a CRLReason ("keyCompromise"); "unknown" for what is none.
const char* ReasonName(int reason);

/// Whether the device takes a time for another one than it means, or cannot read one of the two.
bool IsReadDifferently(const TimeView& time);

/// A text field of a tail record without the zeros behind it, made visible.
std::string FieldText(const std::uint8_t* field, std::size_t size);

}  // namespace fwpack

#endif
