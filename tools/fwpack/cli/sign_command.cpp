#include "tools/fwpack/cli/sign_command.h"

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "tools/fwpack/cli/options.h"
#include "tools/fwpack/sign.h"

namespace fwpack {

void AddSignCommand(CLI::App& app) {
  const auto options = std::make_shared<SignOptions>();
  CLI::App& command =
      *app.add_subcommand("sign", "Make a package: sign content, time-stamp it, add the CRL bundle");
  command.add_option("--content", options->content, "The file to sign")->required();
  command.add_option("--out", options->package, "The package to write")->required();
  command.add_option("--signer-cert", options->signer_cert, "Certificate of the code signer")->required();
  command.add_option("--signer-key", options->signer_key, "Its private key, in PEM")->required();
  command.add_option("--ca", options->ca, "File with CA certificates to carry, several times if need be");
  command.add_option("--tsa-cert", options->tsa_cert, "Certificate of the time stamper")->required();
  command.add_option("--tsa-key", options->tsa_key, "Its private key, in PEM")->required();
  command.add_option("--crl", options->crl, "The bundle of CRLs and CA certificates")->required();
  AddDigestOption(command, options->digest);
  const std::map<std::string, SignatureForm> forms = {{"der", SignatureForm::kDer},
                                                      {"pem", SignatureForm::kPem}};
  command
      .add_option("--signature-form", options->form, "How the signature is stored: der or pem; default: der")
      ->transform(CLI::CheckedTransformer(forms))
      ->type_name("FORM");
  AddTimeOption(command, "--timestamp-time", options->time, "Of signature and time-stamp; default: now");
  command.callback([options] { SignPackage(*options); });
}

}  // namespace fwpack
