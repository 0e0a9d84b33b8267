#include "tools/fwpack/cli/crl_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/fwpack/cli/options.h"
#include "tools/fwpack/crl.h"
#include "tools/fwpack/devpki.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

void TakeRevocations(const std::vector<std::string>& texts, std::vector<Revocation>& revocations) {
  try {
    for (const std::string& text : texts) revocations.push_back(ParseRevocation(text));
  } catch (const Error& error) {
    throw CLI::ValidationError("--revoke", error.what());
  }
}

}  // namespace

void AddCrlCommand(CLI::App& app) {
  const auto options = std::make_shared<CrlBundleOptions>();
  CLI::App& command = *app.add_subcommand("crl", "Make a bundle with new CRLs of a development PKI");
  command.add_option("--pki", options->pki, "The directory that devpki made")->required()->type_name("DIR");
  command
      .add_option("--issuer", options->issuers,
                  "Whose CRL to make new, several times if need be; default: all")
      ->check(CLI::IsMember(std::vector<std::string>(kPkiIssuers.begin(), kPkiIssuers.end())))
      ->type_name("NAME");
  command
      .add_option_function<std::vector<std::string>>(
          "--revoke",
          [options](const std::vector<std::string>& texts) { TakeRevocations(texts, options->revocations); },
          "A certificate to revoke, several times if need be; without a date from --this-update on")
      ->type_name("NAME[:REASON[:TIME]]");
  AddTimeOption(command, "--this-update", options->this_update, "Of the new CRLs; default: now");
  AddTimeOption(command, "--next-update", options->next_update, "Of the new CRLs; default: 10 years later");
  AddDigestOption(command, options->digest);
  command
      .add_option("--out", options->out,
                  "The bundle to write; never over a certificate, CRL or key of the PKI")
      ->required()
      ->type_name("FILE");
  command.footer(
      "Examples:\n"
      "  fwpack crl --pki pki --revoke signer:keyCompromise --out bundle.pem\n"
      "  fwpack crl --pki pki --issuer issuing-ca --revoke signer2::2026-11-01T00:00:00Z --out bundle.pem");
  command.callback([options] { MakeCrlBundle(*options); });
}

}  // namespace fwpack
