#ifndef FWVET_TESTS_FWPACK_FWPACK_FIXTURE_H
#define FWVET_TESTS_FWPACK_FWPACK_FIXTURE_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/der_builder.h"
#include "tests/support/run_tool.h"
#include "tools/fwpack/sign.h"
#include "tools/fwpack/utc_time.h"

// What the tests of the packing tool share: the build tree's development PKI, other people's programs, the
// device's library, and the parts of a package as the device finds them.
namespace packtest {

using der::Bytes;

/// A moment at which everything in the development PKI is valid, and the same in seconds for the openssl
/// program.
constexpr char kTime[] = "2025-06-01T12:34:50Z";
std::string Seconds(const std::string& time);

/// A file of the build tree's development PKI: root.pem, signer.key, bundle.pem, ...
std::filesystem::path Pki(const std::string& name);

/// Runs the openssl program, or the built fwpack.
ToolResult OpenSsl(const std::vector<std::string>& arguments);
ToolResult Fwpack(const std::vector<std::string>& arguments, const ToolSetup& setup = {});

/// The text of the Error that `action` ends with; "no error" when it ends well.
std::string ErrorOf(const std::function<void()>& action);

/// What a package is made of, all of it in files, and a time stamper in this process.
struct SignFiles {
  std::filesystem::path content{};
  std::filesystem::path package{};
  std::filesystem::path signer_cert{};
  std::filesystem::path signer_key{};
  std::vector<std::filesystem::path> ca{};
  std::filesystem::path tsa_cert{};
  std::filesystem::path tsa_key{};
  std::filesystem::path crl{};
  std::string digest = "sha256";
  fwpack::SignatureForm form = fwpack::SignatureForm::kDer;
  std::optional<fwpack::UtcTime> time{};
  fwpack::TailFields tail{};
  std::optional<fwpack::UtcTime> build_time{};
  fwpack::TimeStampSource stamp{};  // in place of the time stamper, when given
  fwpack::Judge judge{};
  fwpack::Progress progress{};
};

/// Files that sign `content` as "signer" of the development PKI at kTime.
SignFiles SignWith(const std::filesystem::path& content, const std::filesystem::path& package);

/// Loads all of it and signs.
void SignPackage(const SignFiles& files);

std::string ReadText(const std::filesystem::path& path);
void WriteText(const std::filesystem::path& path, const std::string& text);
/// The names in a directory, sorted.
std::vector<std::string> NamesIn(const std::filesystem::path& directory);

/// A package taken apart from its end, by the lengths in its tail records.
struct Parts {
  Bytes content{};
  Bytes signature{};
  Bytes signature_tail{};
  Bytes crl{};
  Bytes crl_tail{};
  Bytes end{};
};
Parts Split(const std::filesystem::path& package);

/// The value of a signature and the time-stamp token in it (DER).
struct Stamp {
  Bytes value{};
  Bytes token{};
};
Stamp StampOf(const Bytes& message);

/// The device's verification library with one trusted root.
class Device {
 public:
  explicit Device(const std::string& root_pem);
  ~Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  /// What loading the root gave.
  [[nodiscard]] std::uint32_t root_status() const { return root_status_; }
  /// Verifies as the tool does: package CRL, signature, content. Returns 0 for a genuine package, the status
  /// of the failed step, or 1 for a digest that differs.
  std::uint32_t Verify(const Parts& parts);
  /// How `offered` relates to `stored`: a LUMO_CRL_PERIOD_STAT; adds a failure to the test when the library
  /// fails.
  int Compare(const std::string& offered, const std::string& stored);

 private:
  void* context_ = nullptr;
  std::uint32_t root_status_ = 0;
};

}  // namespace packtest

#endif
