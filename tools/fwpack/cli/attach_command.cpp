#include "tools/fwpack/cli/attach_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tools/fwpack/cli/options.h"
#include "tools/fwpack/cli/package_options.h"
#include "tools/fwpack/external.h"

namespace fwpack {
namespace {

struct AttachCommand {
  AttachOptions attach{};
  std::vector<std::filesystem::path> ca{};
  std::optional<UtcTime> time{};
  StampOptions stamp{};
  JudgeOptions judge{};
};

void RunAttach(const AttachCommand& command) {
  const CaCertificates ca(command.ca, {});
  AttachOptions options = command.attach;
  options.parts.other_inputs = InputsOf(command.judge, command.stamp, command.ca);
  options.parts.other_inputs.insert(options.parts.other_inputs.end(), {options.state, options.signature});
  options.parts.judge = MakeJudge(command.judge, options.parts.package);
  options.parts.stamp = MakeStampSource(command.stamp, ca, options.parts.crl, command.time);
  options.parts.progress = ShowProgress();
  AttachSignature(options);
}

constexpr char kExamples[] =
    "Examples:\n"
    "  fwpack attach --state app.state --content app.img --signature app.sig --crl bundle.pem \\\n"
    "      --tsa-url http://tsa.example/ --root root.pem --out app.pkg\n"
    "  openssl ts -query -data app.sig -sha256 -cert -out app.tsq\n"
    "  fwpack attach --state app.state --content app.img --signature app.sig --crl bundle.pem \\\n"
    "      --timestamp app.tsr --root root.pem --out app.pkg";

}  // namespace

void AddAttachCommand(CLI::App& app) {
  const auto options = std::make_shared<AttachCommand>();
  CLI::App& command = *app.add_subcommand("attach", "Make a package of what prepare wrote and its signature");
  command.add_option("--state", options->attach.state, "The state file of prepare")
      ->required()
      ->type_name("FILE");
  command.add_option("--signature", options->attach.signature, "The raw signature over the prepared bytes")
      ->required()
      ->type_name("FILE");
  AddPartsOptions(command, options->attach.parts);
  AddCaOption(command, options->ca);
  AddTimeOption(command, "--timestamp-time", options->time,
                "Of a time-stamp made here; default: SOURCE_DATE_EPOCH, else now");
  AddStampOptions(command, options->stamp);
  AddJudgeOptions(command, options->judge);
  command.footer(kExamples);
  command.callback([options] { RunAttach(*options); });
}

}  // namespace fwpack
