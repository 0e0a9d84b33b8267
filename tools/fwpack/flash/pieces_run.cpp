#include "tools/fwpack/flash/pieces_run.h"

#include <cstdio>
#include <string_view>

#include "pieces/flashPiece.h"
#include "tools/fwpack/device/isolated.h"
#include "tools/fwpack/device/scratch_flash.h"
#include "tools/fwpack/device/seams.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

// How the process in which the piece file system runs tells what it came to.
constexpr int kStarted = 0;
constexpr int kNotStarted = 1;
constexpr int kCannotReport = 2;

struct ReportFiles {
  fs::path status;
  fs::path data;
  fs::path memory;
};

bool Save(const fs::path& file, std::string_view bytes) {
  std::FILE* out = std::fopen(file.c_str(), "wb");
  if (out == nullptr) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
  return std::fclose(out) == 0 && written;
}

std::string_view MemoryImage() {
  if (g_pucPieceBuff == nullptr) return {};
  return {reinterpret_cast<const char*>(g_pucPieceBuff), g_ulPieceSize};
}

int StartAndWork(const std::function<std::uint64_t(std::string& data)>& work, const ReportFiles& files) {
  const bool started = StartPieces() == 0;
  std::string data;
  const std::uint64_t status = started ? work(data) : 1;
  const std::string_view status_bytes(reinterpret_cast<const char*>(&status), sizeof status);
  const bool saved =
      Save(files.status, status_bytes) && Save(files.data, data) && Save(files.memory, MemoryImage());
  if (!saved) return kCannotReport;
  return started ? kStarted : kNotStarted;
}

}  // namespace

PiecesRun RunPieces(const std::optional<std::string>& image,
                    const std::function<std::uint64_t(std::string& data)>& work) {
  const ScratchFlash flash(image);
  const ScratchDirectory reports;
  const ReportFiles files{.status = reports.path() / "status",
                          .data = reports.path() / "data",
                          .memory = reports.path() / "memory"};
  UseFlashFile(flash.file());
  const IsolatedRun process = RunIsolated([&] { return StartAndWork(work, files); });
  if (process.signal != 0) throw Error("on this image, the device's file system " + EndBySignal(process));
  if (process.exit_status == kCannotReport) throw Error("a scratch file cannot be written");
  PiecesRun run{.started = process.exit_status == kStarted, .output = process.output};
  const std::string status = ReadSmallFile(files.status);
  if (status.size() != sizeof run.status) throw Error("a scratch file cannot be read");
  status.copy(reinterpret_cast<char*>(&run.status), sizeof run.status);
  run.data = ReadSmallFile(files.data);
  run.memory = ReadSmallFile(files.memory);
  run.flash = flash.Content();
  return run;
}

PiecesRun StartOn(const std::optional<std::string>& image) {
  return RunPieces(image, [](std::string& /*data*/) -> std::uint64_t { return PIECE_OK; });
}

}  // namespace fwpack
