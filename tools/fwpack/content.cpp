#include "tools/fwpack/content.h"

#include <cerrno>
#include <fstream>
#include <system_error>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

using DigestContextPtr = OpenSslPtr<EVP_MD_CTX, EVP_MD_CTX_free>;

constexpr std::size_t kPieceSize = 1U << 20U;

class Hash {
 public:
  explicit Hash(const EVP_MD* digest) : context_(EVP_MD_CTX_new()) {
    RequireOpenSsl(context_ != nullptr && EVP_DigestInit_ex(context_.get(), digest, nullptr) == 1,
                   "digest the content");
  }
  void Update(std::string_view piece) {
    RequireOpenSsl(EVP_DigestUpdate(context_.get(), piece.data(), piece.size()) == 1, "digest the content");
  }
  std::string Finish() {
    unsigned char value[EVP_MAX_MD_SIZE] = {};
    unsigned int length = 0;
    RequireOpenSsl(EVP_DigestFinal_ex(context_.get(), value, &length) == 1, "digest the content");
    return {reinterpret_cast<const char*>(value), length};
  }

 private:
  DigestContextPtr context_;
};

// Not RequireReadable(): content may come through a pipe.
std::ifstream Open(const std::filesystem::path& content) {
  errno = 0;
  std::ifstream in(content, std::ios::binary);
  if (in) return in;
  const std::error_code reason(errno, std::generic_category());
  throw Error(content.string() + ": cannot be opened: " + reason.message());
}

// For the progress alone: what cannot tell its size, a pipe for one, has none.
std::uint64_t SizeOf(const std::filesystem::path& file) {
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(file, unknown);
  return unknown ? 0 : size;
}

}  // namespace

ContentSummary ReadContent(const std::filesystem::path& content, const EVP_MD* digest,
                           const std::function<void(std::string_view)>& sink, const Progress& progress) {
  std::ifstream in = Open(content);
  const std::uint64_t total = SizeOf(content);
  Hash hash(digest);
  ContentSummary summary;
  std::string piece(kPieceSize, '\0');
  while (in) {
    in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    const std::string_view got(piece.data(), static_cast<std::size_t>(in.gcount()));
    if (got.empty()) break;
    summary.size += got.size();
    if (summary.size > kMaxPackage) {
      throw Error(content.string() + ": makes a package beyond the 4 GiB that the device can address");
    }
    hash.Update(got);
    if (sink) sink(got);
    if (progress) progress(summary.size, total);
  }
  if (in.bad()) throw Error(content.string() + ": cannot be read");
  if (summary.size == 0) throw Error(content.string() + ": is empty; the device refuses empty content");
  summary.digest = hash.Finish();
  return summary;
}

}  // namespace fwpack
