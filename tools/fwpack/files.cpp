#include "tools/fwpack/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kPublicMode = 0644;
constexpr mode_t kSecretMode = 0600;
constexpr std::size_t kKeyWithin = 1U << 20U;  // where a key may begin in a file that is looked at

std::string SystemReason() {
  return std::error_code(errno, std::generic_category()).message();
}

bool WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// The name of a place for something unfinished, beside `place`, so that a rename stays within one file
// system.
std::string TemplateBeside(const fs::path& place) {
  const fs::path parent = place.has_parent_path() ? place.parent_path() : fs::path(".");
  return (parent / std::string(1, '.').append(place.filename().string()).append(".XXXXXX")).string();
}

// After a rename: the directory entry must be on the disk too. Nothing can be undone any more, and file
// systems that cannot synchronise a directory are no reason to fail.
void SyncParent(const fs::path& place) {
  const fs::path parent = place.has_parent_path() ? place.parent_path() : fs::path(".");
  const int directory = open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return;
  (void)fsync(directory);
  (void)close(directory);
}

mode_t CurrentUmask() {
  const mode_t mask = umask(0);
  (void)umask(mask);
  return mask;
}

// Reads straight into what is returned, for a buffer in between would keep a copy.
template <class Bytes>
Bytes ReadWhole(const fs::path& path, std::size_t limit) {
  constexpr std::size_t kPiece = 4096;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) throw Error(path.string() + ": cannot be opened: " + SystemReason());
  Bytes content;
  std::size_t length = 0;
  ssize_t got = 0;
  do {
    content.resize(length + kPiece);
    got = read(file, content.data() + length, kPiece);
    if (got > 0) length += static_cast<std::size_t>(got);
  } while (length <= limit && (got > 0 || (got < 0 && errno == EINTR)));
  const std::string reason = got < 0 ? SystemReason() : "longer than " + std::to_string(limit) + " bytes";
  (void)close(file);
  if (got != 0) throw Error(path.string() + ": cannot be read: " + reason);
  content.resize(length);
  return content;
}

// Nothing brings back a key that was written over by mistake. Programs that read keys hold the same words, so
// only text counts; packages and flash images have zero bytes.
void RefuseToReplaceKey(const fs::path& place) {
  SecretBytes begin(kKeyWithin);
  std::ifstream file;
  (void)file.rdbuf()->pubsetbuf(nullptr, 0);  // no copy in a buffer that nobody wipes
  file.open(place, std::ios::binary);
  file.read(begin.data(), static_cast<std::streamsize>(begin.size()));
  const std::string_view text = TextOf(begin).substr(0, static_cast<std::size_t>(file.gcount()));
  if (text.find('\0') != std::string_view::npos) return;
  if (text.find("PRIVATE KEY-----") == std::string_view::npos) return;
  throw Error(place.string() + ": holds a private key and will not be overwritten");
}

// Where the links at `place` lead. What the system would not follow is not followed here: loops, and links
// that others left in a shared directory.
fs::path BehindLinks(fs::path place) {
  const auto is_link = [](const fs::path& path) {
    std::error_code ignored;
    return fs::is_symlink(fs::symlink_status(path, ignored));
  };
  std::error_code reason;
  const fs::file_status status = fs::status(place, reason);
  if (is_link(place) && !fs::status_known(status))
    throw Error(place.string() + ": the link cannot be followed: " + reason.message());
  // The bound is for links that change meanwhile.
  constexpr int kMaxLinks = 40;
  for (int i = 0; i < kMaxLinks && is_link(place); ++i) {
    const fs::path target = fs::read_symlink(place, reason);
    if (reason) throw Error(place.string() + ": the link cannot be read: " + reason.message());
    place = place.parent_path() / target;
  }
  return place;
}

}  // namespace

std::string ReadSmallFile(const fs::path& path, std::size_t limit) {
  return ReadWhole<std::string>(path, limit);
}

SecretBytes ReadSecretFile(const fs::path& path, std::size_t limit) {
  return ReadWhole<SecretBytes>(path, limit);
}

OutputFile::OutputFile(fs::path place) : place_(BehindLinks(std::move(place))) {
  std::error_code ignored;
  const fs::file_status status = fs::status(place_, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    throw Error(place_.string() + ": is there already and is no regular file");
  }
  if (fs::exists(status)) RefuseToReplaceKey(place_);
  mode_ = fs::exists(status) ? static_cast<mode_t>(status.permissions() & fs::perms::all)
                             : kPublicMode & ~CurrentUmask();
  temporary_ = TemplateBeside(place_);
  const InterruptsHeld held;
  file_ = mkostemp(temporary_.data(), O_CLOEXEC);
  if (file_ < 0) Fail("cannot be created");
  removal_ = std::make_unique<RemoveOnInterrupt>(temporary_);
}

OutputFile::~OutputFile() {
  if (file_ < 0) return;
  (void)close(file_);
  (void)unlink(temporary_.c_str());
}

void OutputFile::Fail(const char* what) const {
  throw Error(place_.string() + ": " + what + ": " + SystemReason());
}

void OutputFile::Write(std::string_view bytes) {
  if (!WriteAll(file_, bytes)) Fail("cannot be written");
}

void OutputFile::Commit() {
  if (fchmod(file_, mode_) != 0 || fsync(file_) != 0) Fail("cannot be written");
  if (std::rename(temporary_.c_str(), place_.c_str()) != 0) Fail("cannot be put in place");
  removal_.reset();
  (void)close(std::exchange(file_, -1));
  SyncParent(place_);
}

void WriteFile(const fs::path& place, std::string_view bytes) {
  OutputFile file(place);
  file.Write(bytes);
  file.Commit();
}

OutputDirectory::OutputDirectory(fs::path place) : place_(std::move(place)) {
  if (!place_.has_filename()) place_ = place_.parent_path();  // "dir/" is "dir"
  std::error_code ignored;
  const fs::file_status status = fs::symlink_status(place_, ignored);
  if (fs::exists(status) && !(fs::is_directory(status) && fs::is_empty(place_, ignored))) {
    throw Error(place_.string() + ": is there already and will not be overwritten");
  }
  std::string name = TemplateBeside(place_);
  if (mkdtemp(name.data()) == nullptr) {
    throw Error(place_.string() + ": cannot be created: " + SystemReason());
  }
  temporary_ = name;
}

OutputDirectory::~OutputDirectory() {
  if (temporary_.empty()) return;
  std::error_code ignored;
  fs::remove_all(temporary_, ignored);
}

void OutputDirectory::AddWithMode(const std::string& name, std::string_view bytes, unsigned int mode) {
  const fs::path path = temporary_ / name;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, static_cast<mode_t>(mode));
  const bool ok = file >= 0 && WriteAll(file, bytes) && fsync(file) == 0;
  const std::string reason = SystemReason();
  if (file >= 0) (void)close(file);
  if (!ok) throw Error((place_ / name).string() + ": cannot be written: " + reason);
}

void OutputDirectory::Add(const std::string& name, std::string_view bytes) {
  AddWithMode(name, bytes, kPublicMode);
}

void OutputDirectory::AddSecret(const std::string& name, std::string_view bytes) {
  AddWithMode(name, bytes, kSecretMode);
}

void OutputDirectory::Commit() {
  // mkdtemp made it for its owner alone; the secrets in it keep their own mode.
  if (chmod(temporary_.c_str(), 0755 & ~CurrentUmask()) != 0 ||
      std::rename(temporary_.c_str(), place_.c_str()) != 0) {
    throw Error(place_.string() + ": cannot be put in place: " + SystemReason());
  }
  temporary_.clear();
  SyncParent(place_);
}

}  // namespace fwpack
