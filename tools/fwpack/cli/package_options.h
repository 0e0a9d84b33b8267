#ifndef FWVET_TOOLS_FWPACK_CLI_PACKAGE_OPTIONS_H
#define FWVET_TOOLS_FWPACK_CLI_PACKAGE_OPTIONS_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/keys/identity.h"
#include "tools/fwpack/package.h"
#include "tools/fwpack/sign.h"
#include "tools/fwpack/tsa/tsa.h"

namespace CLI {
class App;
}

// What the commands that make signatures and packages have in common: their options, and what becomes of
// them.
namespace fwpack {

/// Certificates from "--ca", and the same as borrowed by those who look through them.
class CaCertificates {
 public:
  /// Of these files, and behind them of a PKCS #12 file.
  CaCertificates(const std::vector<std::filesystem::path>& files, const std::vector<CertPtr>& chain);
  [[nodiscard]] const std::vector<X509*>& all() const { return all_; }

 private:
  std::vector<CertPtr> owned_;
  std::vector<X509*> all_{};
};

/// How a signature is to look, as on the command line.
struct SignatureOptions {
  std::vector<std::filesystem::path> ca{};
  SignatureWish wish{};  // without signer and CA certificates
};
/// "--ca", "--digest", "--signature-form", "--signing-time" and the fields of the tail records.
void AddSignatureOptions(CLI::App& command, SignatureOptions& options);
/// "--ca" alone.
void AddCaOption(CLI::App& command, std::vector<std::filesystem::path>& ca);

/// Where the time-stamp comes from: exactly one of the three.
struct StampOptions {
  TsaServer server{};
  std::filesystem::path file{};
  IdentitySource local{};
};
void AddStampOptions(CLI::App& command, StampOptions& options);

/// The source that the options name. `ca`: where certificates of a local time stamper's issuer are, and with
/// `bundle` those that others' time-stamps may leave out; both must outlive the source. `time`: that a local
/// time stamper tells. Throws Error unless exactly one source is named and it can be used.
TimeStampSource MakeStampSource(const StampOptions& options, const CaCertificates& ca,
                                const std::filesystem::path& bundle, std::optional<UtcTime> time);

/// Who judges the package before it is put in its place.
struct JudgeOptions {
  std::filesystem::path root{};
  std::optional<std::filesystem::path> device_crl{};
  std::optional<std::filesystem::path> flash{};
  bool force = false;
};
void AddJudgeOptions(CLI::App& command, JudgeOptions& options);

/// A judge that runs the device's code and tells on standard error what will bite later. Refusals are Errors,
/// and with "--force" only told. Empty without a root. Throws Error when neither root nor "--force" is given.
/// `package`: what messages call the package.
Judge MakeJudge(const JudgeOptions& options, const std::filesystem::path& package);

/// The files that these options name, which no output may be written over.
std::vector<std::filesystem::path> InputsOf(const JudgeOptions& judge, const StampOptions& stamp,
                                            const std::vector<std::filesystem::path>& ca);

/// "--content", "--out" and "--crl".
void AddPartsOptions(CLI::App& command, PackageParts& parts);

/// "--signer-cert" and "--signer-key", or "--tsa-cert" and "--tsa-key", with the options for the passphrase.
/// `prefix`: "signer" or "tsa".
void AddIdentityOptions(CLI::App& command, const std::string& prefix, IdentitySource& source);

/// A progress bar on standard error.
Progress ShowProgress();

}  // namespace fwpack

#endif
