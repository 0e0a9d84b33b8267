#ifndef FWVET_TESTS_SUPPORT_RUN_TOOL_H
#define FWVET_TESTS_SUPPORT_RUN_TOOL_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// A directory of its own that disappears with the object.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  /// The path of `name` inside the directory, as text for a command line.
  [[nodiscard]] std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_{};
};

/// How a program is run.
struct ToolSetup {
  std::filesystem::path directory{};                 // where it runs; empty: where the test runs
  std::map<std::string, std::string> environment{};  // added to that of the test
  std::size_t address_space = 0;                     // limit in bytes; 0: none
};

/// What a program left behind.
struct ToolResult {
  int status = -1;    // exit status
  int signal = 0;     // the signal that ended it, or 0; status is then -1
  std::string out{};  // standard output, byte for byte
  std::string err{};  // standard error
  long peak_kib = 0;  // most memory that it touched at one time, in KiB
};

/// Runs `program` with `arguments` and an empty standard input, and waits for its end. Throws
/// std::system_error when it cannot be started.
ToolResult RunTool(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   const ToolSetup& setup = {});

/// The whole content of a file. Throws std::runtime_error when it cannot be read.
std::vector<std::uint8_t> ReadWholeFile(const std::filesystem::path& path);
/// Makes a file with exactly this content. Throws std::runtime_error when it cannot be written.
void WriteWholeFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& content);

#endif
