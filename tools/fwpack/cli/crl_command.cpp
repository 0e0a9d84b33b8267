#include "tools/fwpack/cli/crl_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/fwpack/cli/options.h"
#include "tools/fwpack/crl.h"

namespace fwpack {

void AddCrlCommand(CLI::App& app) {
  const auto options = std::make_shared<CrlBundleOptions>();
  CLI::App& command = *app.add_subcommand("crl", "Make a bundle with new CRLs of a development PKI");
  command.add_option("--pki", options->pki, "The directory that devpki made")->required();
  command.add_option(
      "--issuer", options->issuers,
      "Whose CRL to make new (root, issuing-ca, tsa-ca), several times if need be; default: all");
  command
      .add_option_function<std::vector<std::string>>(
          "--revoke",
          [options](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) options->revocations.push_back(ParseRevocation(text));
          },
          "A certificate to revoke, several times if need be; without a date from --this-update on")
      ->type_name("NAME[:REASON[:TIME]]");
  AddTimeOption(command, "--this-update", options->this_update, "Of the new CRLs; default: now");
  AddTimeOption(command, "--next-update", options->next_update, "Of the new CRLs; default: 10 years later");
  AddDigestOption(command, options->digest);
  command.add_option("--out", options->out, "The bundle to write")->required();
  command.callback([options] { MakeCrlBundle(*options); });
}

}  // namespace fwpack
