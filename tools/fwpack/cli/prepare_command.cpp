#include "tools/fwpack/cli/prepare_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/fwpack/cli/package_options.h"
#include "tools/fwpack/external.h"
#include "tools/fwpack/pem_files.h"

namespace fwpack {
namespace {

struct PrepareCommand {
  PrepareOptions prepare{};
  std::filesystem::path signer_cert{};
  SignatureOptions signature{};
};

void RunPrepare(const PrepareCommand& command) {
  const CertPtr signer = LoadCert(command.signer_cert);
  const CaCertificates ca(command.signature.ca, {});
  PrepareOptions options = command.prepare;
  options.signature = command.signature.wish;
  options.signature.signer = signer.get();
  options.signature.ca = ca.all();
  options.other_inputs = command.signature.ca;
  options.other_inputs.push_back(command.signer_cert);
  options.progress = ShowProgress();
  PrepareSignature(options);
}

constexpr char kExamples[] =
    "Examples:\n"
    "  fwpack prepare --content app.img --signer-cert signer.pem --ca issuing-ca.pem \\\n"
    "      --to-be-signed app.tbs --state app.state\n"
    "  openssl pkeyutl -sign -rawin -digest sha256 -inkey signer.key -in app.tbs -out app.sig\n"
    "  fwpack attach --state app.state --content app.img --signature app.sig --crl bundle.pem \\\n"
    "      --tsa-url http://tsa.example/ --root root.pem --out app.pkg";

}  // namespace

void AddPrepareCommand(CLI::App& app) {
  const auto options = std::make_shared<PrepareCommand>();
  CLI::App& command =
      *app.add_subcommand("prepare", "Write the bytes to be signed elsewhere, and a state file for attach");
  command.add_option("--content", options->prepare.content, "The file to sign")
      ->required()
      ->type_name("FILE");
  command
      .add_option("--to-be-signed", options->prepare.to_be_signed,
                  "Receives the bytes to sign with PKCS #1 v1.5 and the digest")
      ->required()
      ->type_name("FILE");
  command.add_option("--state", options->prepare.state, "Receives what attach has to know")
      ->required()
      ->type_name("FILE");
  command.add_option("--signer-cert", options->signer_cert, "Certificate of the code signer")
      ->required()
      ->type_name("FILE");
  AddSignatureOptions(command, options->signature);
  command.footer(kExamples);
  command.callback([options] { RunPrepare(*options); });
}

}  // namespace fwpack
