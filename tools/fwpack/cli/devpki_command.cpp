#include "tools/fwpack/cli/devpki_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/fwpack/cli/options.h"
#include "tools/fwpack/devpki.h"

namespace fwpack {

void AddDevPkiCommand(CLI::App& app) {
  const auto options = std::make_shared<DevPkiOptions>();
  CLI::App& command =
      *app.add_subcommand("devpki", "Make a PKI for development: root, CAs, signers, CRLs, bundle");
  command.add_option("DIR", options->directory, "Where to make it; must not exist or be empty")
      ->required()
      ->type_name("DIR");
  command.add_option("--signers", options->signers, "How many code signers: signer, signer2, ...")
      ->capture_default_str();
  command.add_option("--subject-prefix", options->subject_prefix, "Begin of every name")
      ->capture_default_str();
  AddDigestOption(command, options->digest);
  command.add_option("--key-bits", options->key_bits, "Size of all RSA keys but the root's, which has 4096")
      ->capture_default_str();
  AddTimeOption(command, "--not-before", options->not_before, "Of every certificate; default: a day ago");
  AddTimeOption(command, "--not-after", options->not_after, "Of every certificate; default: 20 years later");
  AddTimeOption(command, "--this-update", options->this_update, "Of the CRLs; default: as --not-before");
  AddTimeOption(command, "--next-update", options->next_update, "Of the CRLs; default: as --not-after");
  command.footer(
      "Examples:\n"
      "  fwpack devpki pki\n"
      "  fwpack devpki pki --signers 2 --subject-prefix \"Test bench\" --digest sha512");
  command.callback([options] { MakeDevPki(*options); });
}

}  // namespace fwpack
