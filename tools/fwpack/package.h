#ifndef FWVET_TOOLS_FWPACK_PACKAGE_H
#define FWVET_TOOLS_FWPACK_PACKAGE_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tools/fwpack/cms.h"
#include "tools/fwpack/content.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/tail.h"

namespace fwpack {

/// Gives the time-stamp token (DER) over a signature value. Throws Error when there is none to be had.
using TimeStampSource = std::function<std::string(const std::string& signature, const EVP_MD* digest)>;

/// Looks at the finished package before it is put in its place; throws Error to keep it from there.
using Judge = std::function<void(const std::filesystem::path& package)>;

/// What a package is made of besides its signature, and where it goes.
struct PackageParts {
  std::filesystem::path content{};
  std::filesystem::path package{};
  std::filesystem::path crl{};  // the bundle, carried as it is
  TimeStampSource stamp{};
  std::vector<std::filesystem::path> other_inputs{};  // keys, certificates: never written over either
  Judge judge{};                                      // may be empty
  Progress progress{};                                // may be empty
};

/// Writes a package front to back: the content, the block with its detached signature, the block with the
/// bundle, 32 end bytes. Nothing stands at its place before Finish() has ended well.
class PackageWriter {
 public:
  /// Throws Error when the bundle holds no CRL, or the place is that of an input or cannot be written.
  /// `parts` must outlive this.
  explicit PackageWriter(const PackageParts& parts);

  /// Copies the content, whatever its size, in pieces. Throws as ReadContent().
  ContentSummary CopyContent(const EVP_MD* digest);
  /// Writes the blocks, both with these tail fields, has the package judged and puts it in its place.
  void Finish(const std::string& signature, const TailFields& tail);

 private:
  const PackageParts& parts_;
  std::string bundle_;
  OutputFile out_;
  std::uint64_t size_ = 0;
};

}  // namespace fwpack

#endif
