#include "tools/fwpack/package.h"

#include <system_error>

#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

std::string LoadBundle(const fs::path& file) {
  std::string bundle = ReadSmallFile(file);
  if (ParseCrl(bundle) == nullptr) throw Error(file.string() + ": holds no CRL");
  return bundle;
}

const fs::path& PlaceBesideInputs(const PackageParts& parts) {
  std::error_code absent;
  if (fs::equivalent(parts.content, parts.package, absent)) {
    throw Error(parts.package.string() + ": is the content itself");
  }
  std::vector<fs::path> inputs = parts.other_inputs;
  inputs.push_back(parts.crl);
  for (const fs::path& input : inputs) {
    if (fs::equivalent(input, parts.package, absent)) {
      throw Error(parts.package.string() +
                  ": is one of the files that the package is made from; name another");
    }
  }
  return parts.package;
}

}  // namespace

PackageWriter::PackageWriter(const PackageParts& parts)
    : parts_(parts), bundle_(LoadBundle(parts.crl)), out_(PlaceBesideInputs(parts)) {}

ContentSummary PackageWriter::CopyContent(const EVP_MD* digest) {
  ContentSummary summary = ReadContent(
      parts_.content, digest, [this](std::string_view piece) { out_.Write(piece); }, parts_.progress);
  size_ = summary.size;
  return summary;
}

void PackageWriter::Finish(const std::string& signature, const TailFields& tail) {
  const std::string trailer =
      MakeBlock(signature, tail) + MakeBlock(bundle_, tail) + std::string(kEndPadSize, '\0');
  if (size_ + trailer.size() > kMaxPackage) {
    throw Error(parts_.content.string() + ": makes a package beyond the 4 GiB that the device can address");
  }
  out_.Write(trailer);
  if (parts_.judge) parts_.judge(out_.temporary());
  out_.Commit();
}

}  // namespace fwpack
