#ifndef FWVET_TOOLS_FWPACK_LINT_OBJECTS_H
#define FWVET_TOOLS_FWPACK_LINT_OBJECTS_H

#include <functional>
#include <string>
#include <vector>

#include "tools/fwpack/lint/finders.h"

// What the rules walk over: every certificate, CRL, message and time of a run, each with words for where it
// is. All of it points into the input.
namespace fwpack {

struct LintCert {
  const CertView* cert = nullptr;
  std::string where{};  // "certificate 'CN = Signer' (serial 0a1b) in the signature"
};

struct LintCrl {
  const CrlView* crl = nullptr;
  std::string where{};  // "CRL of 'CN = Root' in the bundle"
};

struct LintMessage {
  const MessageView* message = nullptr;
  const char* where = "";  // "signature" or "time-stamp"
};

/// The signature and its time-stamp, as far as they are there.
std::vector<LintMessage> Messages(const LintInput& input);

/// The certificates of the package: signature, time-stamp, bundle.
std::vector<LintCert> PackageCerts(const LintInput& input);
/// These, the root in front and those of the device's bundle behind: in the order in which the device meets
/// them.
std::vector<LintCert> RunCerts(const LintInput& input);

/// The CRLs of the package's bundle.
std::vector<LintCrl> PackageCrls(const LintInput& input);
/// These and those of the device's bundle.
std::vector<LintCrl> RunCrls(const LintInput& input);

/// The moment at which the device judges everything; none when the package has no time-stamp that it can
/// read.
std::optional<UtcTime> StampedTime(const LintInput& input);

/// The certificate of the one who signed the message, among those of the run; null when it is not there.
const LintCert* FindSigner(const MessageView& message, const std::vector<LintCert>& certs);

/// The places of all certificates, or CRLs, that `breaks` gives a text for: the detail, empty for none to
/// tell.
Places CertsThat(const std::vector<LintCert>& certs,
                 const std::function<std::optional<std::string>(const CertView&)>& breaks);
Places CrlsThat(const std::vector<LintCrl>& crls,
                const std::function<std::optional<std::string>(const CrlView&)>& breaks);

/// "21 entries", "1 entry".
std::string Count(std::size_t number, const char* one, const char* many);

}  // namespace fwpack

#endif
