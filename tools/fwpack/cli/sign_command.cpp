#include "tools/fwpack/cli/sign_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/fwpack/cli/package_options.h"
#include "tools/fwpack/sign.h"

namespace fwpack {
namespace {

struct SignCommand {
  PackageParts parts{};
  IdentitySource signer{};
  SignatureOptions signature{};
  StampOptions stamp{};
  JudgeOptions judge{};
};

void RunSign(const SignCommand& command) {
  const Identity signer = LoadIdentity(command.signer);
  const CaCertificates ca(command.signature.ca, signer.chain);
  SignOptions options{.parts = command.parts, .signature = command.signature.wish, .key = signer.key.get()};
  options.signature.signer = signer.cert.get();
  options.signature.ca = ca.all();
  options.parts.other_inputs = InputsOf(command.judge, command.stamp, command.signature.ca);
  options.parts.other_inputs.emplace_back(command.signer.key);
  options.parts.other_inputs.emplace_back(command.signer.cert);
  options.parts.judge = MakeJudge(command.judge, command.parts.package);
  options.parts.stamp = MakeStampSource(command.stamp, ca, command.parts.crl, command.signature.wish.time);
  options.parts.progress = ShowProgress();
  SignPackage(options);
}

constexpr char kExamples[] =
    "Examples:\n"
    "  fwpack sign --content app.img --out app.pkg --signer-key signer.p12 --crl bundle.pem \\\n"
    "      --tsa-url http://tsa.example/ --root root.pem\n"
    "  fwpack sign --content app.img --out app.pkg --signer-cert signer.pem --signer-key signer.key \\\n"
    "      --ca issuing-ca.pem --ca tsa-ca.pem --tsa-cert tsa.pem --tsa-key tsa.key --crl bundle.pem \\\n"
    "      --root root.pem --product BOARD --package-version 1.2.ABC.3.4.5.6";

}  // namespace

void AddSignCommand(CLI::App& app) {
  const auto options = std::make_shared<SignCommand>();
  CLI::App& command =
      *app.add_subcommand("sign", "Make a package: sign content, time-stamp it, add the CRL bundle");
  AddPartsOptions(command, options->parts);
  AddIdentityOptions(command, "signer", options->signer);
  AddSignatureOptions(command, options->signature);
  AddStampOptions(command, options->stamp);
  AddJudgeOptions(command, options->judge);
  command.footer(kExamples);
  command.callback([options] { RunSign(*options); });
}

}  // namespace fwpack
