#include "tools/fwpack/device/seams.h"

#include <algorithm>
#include <array>
#include <string>

#include "app/root_cert.h"
#include "pieces/flash_path.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

struct Seams {
  std::string flash_file{};
  std::array<unsigned char, kRootCertSize> root{};
};

Seams& TheSeams() {
  static Seams seams;
  return seams;
}

}  // namespace

void UseFlashFile(const std::filesystem::path& file) {
  TheSeams().flash_file = file.string();
}

void UseRoot(std::string_view padded_pem) {
  if (padded_pem.size() != kRootCertSize) throw Error("a root certificate has not the device's length");
  std::copy(padded_pem.begin(), padded_pem.end(), TheSeams().root.begin());
}

}  // namespace fwpack

// In place of sync(): whoever keeps an image that was made here flushes that one file.
extern "C" void __wrap_sync() {}

const char* FlashDevicePath() {
  return fwpack::TheSeams().flash_file.c_str();
}

void JoinRootCert(unsigned char* out) {
  const auto& root = fwpack::TheSeams().root;
  std::copy(root.begin(), root.end(), out);
}
