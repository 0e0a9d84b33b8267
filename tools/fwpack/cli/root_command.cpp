#include "tools/fwpack/cli/root_command.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>

#include "app/root_cert.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/lint/lint_certs.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/root.h"
#include "tools/fwpack/view/cert_view.h"

namespace fwpack {
namespace {

struct RootOptions {
  std::filesystem::path cert{};
  std::filesystem::path out{};
};

// What the tool's own rules pass over, the device's decoder may still refuse.
void RequireDecodedByDevice(const std::filesystem::path& file, const CertView& cert) {
  if (cert.device_code == LUMO_OK) return;
  throw Error(file.string() + ": cannot be the device's root: its decoder answers " +
                  lumo_error_name(cert.device_code) + " (" + lumo_error_meaning(cert.device_code) +
                  "); make a root with a simpler name and fewer extensions",
              kRefused);
}

void Describe(const std::filesystem::path& file, const CertView& cert, std::size_t pem_length) {
  std::cout << file.string() << ": can be the device's root\n"
            << "subject:    " << cert.subject.text << "\n"
            << "serial:     " << cert.serial.hex << "\n"
            << "key:        RSA, " << cert.key_bits << " bits"
            << (cert.key_bits < lint::kMinKeyBits ? ", which others may be able to factor: take 2048 or more"
                                                  : "")
            << "\n"
            << "PEM length: " << pem_length << " of " << kRootCertSize << " bytes, "
            << kRootCertSize - pem_length << " left\n";
}

void RunRoot(const RootOptions& options) {
  const RootCheck check = LoadRoot(options.cert);
  const CertPtr cert = LoadCert(options.cert);
  const CertView view = ViewCert(ToDer(cert.get(), i2d_X509, "encode a certificate"));
  RequireDecodedByDevice(options.cert, view);
  if (options.out.empty()) return Describe(options.cert, view, check.pem_length);
  WriteFile(options.out, check.padded);
}

}  // namespace

void AddRootCommand(CLI::App& app) {
  const auto options = std::make_shared<RootOptions>();
  CLI::App& command = *app.add_subcommand("root", "Say whether a certificate can be the root of a device");
  command.add_option("CERT", options->cert, "The certificate, in PEM")->required()->type_name("FILE");
  command.add_option("--out", options->out, "Where to write it with the length that the device compiles in")
      ->type_name("FILE");
  command.footer(
      "Examples:\n"
      "  fwpack root root.pem\n"
      "  fwpack root root.pem --out padded.pem");
  command.callback([options] { RunRoot(*options); });
}

}  // namespace fwpack
