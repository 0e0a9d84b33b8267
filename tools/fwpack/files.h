#ifndef FWVET_TOOLS_FWPACK_FILES_H
#define FWVET_TOOLS_FWPACK_FILES_H

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "tools/fwpack/interrupt.h"
#include "tools/fwpack/secret_bytes.h"

namespace fwpack {

/// The whole content of a file. Throws Error when it cannot be read or holds more than `limit` bytes.
std::string ReadSmallFile(const std::filesystem::path& path, std::size_t limit = 16U << 20U);
/// The same of a file that may hold a secret, of which nothing stays in memory but what is returned.
SecretBytes ReadSecretFile(const std::filesystem::path& path, std::size_t limit = 16U << 20U);

/// A file that comes into being whole or not at all: it is written beside its final place, synchronised and
/// renamed by Commit(). It keeps the mode of a file that it replaces, so that nobody can read more than
/// before; a new one may be read by all whom the umask lets. Without Commit() nothing is left behind, and
/// what stood at the place stays; a run that SIGINT, SIGTERM or SIGHUP ends leaves nothing behind either.
/// A symbolic link stays one: the place is then where it leads, whether something stands there or not.
class OutputFile {
 public:
  /// Throws Error when the place is taken by something that is no regular file or by a private key in PEM,
  /// cannot be written or is a link that may not be followed.
  explicit OutputFile(std::filesystem::path place);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Appends; throws Error when the disk refuses.
  void Write(std::string_view bytes);
  /// Where all that was written so far can be read, until Commit(); the file goes with this object.
  [[nodiscard]] std::filesystem::path temporary() const { return temporary_; }
  /// Puts the file in its place; throws Error when that fails. To be called once, last.
  void Commit();

 private:
  [[noreturn]] void Fail(const char* what) const;

  std::filesystem::path place_;
  std::string temporary_{};
  mode_t mode_ = 0;
  int file_ = -1;
  std::unique_ptr<RemoveOnInterrupt> removal_{};
};

/// Writes a whole file the same way.
void WriteFile(const std::filesystem::path& place, std::string_view bytes);

/// A directory that comes into being whole or not at all, in the same way.
class OutputDirectory {
 public:
  /// Throws Error when the place is taken by anything but an empty directory: what stands there is never
  /// touched.
  explicit OutputDirectory(std::filesystem::path place);
  ~OutputDirectory();
  OutputDirectory(const OutputDirectory&) = delete;
  OutputDirectory& operator=(const OutputDirectory&) = delete;

  /// Adds a file that everybody may read.
  void Add(const std::string& name, std::string_view bytes);
  /// Adds a file that only its owner may read (mode 0600, from the start).
  void AddSecret(const std::string& name, std::string_view bytes);
  void Commit();

 private:
  void AddWithMode(const std::string& name, std::string_view bytes, unsigned int mode);

  std::filesystem::path place_;
  std::filesystem::path temporary_{};
};

}  // namespace fwpack

#endif
