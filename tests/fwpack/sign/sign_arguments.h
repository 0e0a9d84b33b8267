#ifndef FWVET_TESTS_FWPACK_SIGN_SIGN_ARGUMENTS_H
#define FWVET_TESTS_FWPACK_SIGN_SIGN_ARGUMENTS_H

#include <string>
#include <vector>

#include "tests/fwpack/fwpack_fixture.h"

// Command lines of the packing tool over the build tree's development PKI.
namespace packtest {

using Words = std::vector<std::string>;

/// All words of several command lines, one behind the other.
Words Join(const std::vector<Words>& parts);

/// "--signer-cert" and "--signer-key" of a signer of the development PKI.
Words SignerWords(const std::string& name = "signer");
/// "--tsa-cert" and "--tsa-key": a time stamper in the program itself.
Words LocalStamperWords();
/// "--crl", "--root" and the CA certificates.
Words TrustWords();

/// Content in a scratch directory and what is made of it there. Commands run in that directory.
class SignBench {
 public:
  explicit SignBench(const std::string& content = "software of the board");

  /// Runs fwpack with all these words, at kTime in SOURCE_DATE_EPOCH.
  ToolResult Run(const std::vector<Words>& parts);
  /// "sign" of "content" to "package" as the signer, with a local time stamper, and more words.
  ToolResult Sign(const Words& more = {});
  /// The same without a time stamper.
  ToolResult SignWithoutStamper(const Words& more);

  std::string operator/(const std::string& name) const { return dir_ / name; }
  [[nodiscard]] std::vector<std::string> Names() const { return NamesIn(dir_.path()); }
  [[nodiscard]] Parts Package() const { return Split(dir_ / "package"); }
  /// What the device says to "package": 0 when it takes it.
  [[nodiscard]] std::uint32_t Verdict() const;

 private:
  ScratchDir dir_{};
};

/// Expects that a run failed with this status and one line that holds this text.
void ExpectError(const ToolResult& result, int status, const std::string& text);

}  // namespace packtest

#endif
