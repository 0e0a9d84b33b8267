#include "tools/fwpack/cli/flash_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <string_view>
#include <system_error>

#include "tools/fwpack/device/scratch_flash.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/flash/flash_image.h"
#include "tools/fwpack/flash/flash_json.h"
#include "tools/fwpack/flash/flash_text.h"
#include "tools/fwpack/flash/known_records.h"
#include "tools/fwpack/view/device_decoder.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

struct FlashOptions {
  fs::path image{};
  std::string name{};
  fs::path file{};
  bool json = false;
  bool as_crl = false;
  bool dry_run = false;
  bool format = false;
};

std::string Load(const fs::path& image) {
  return ReadSmallFile(image, kMaxFlashImage);
}

// Names the image in front of what is wrong with it.
template <class Work>
auto WithName(const fs::path& image, Work work) {
  try {
    return work();
  } catch (const Error& error) {
    throw Error(image.string() + ": " + error.what(), error.exit_status());
  }
}

int StatusOf(const FlashView& view) {
  return view.start_up.is_idle() ? kAccepted : kRefused;
}

using TextOf = std::string (*)(const FlashView&);

FlashView Look(const FlashOptions& options) {
  const std::string image = Load(options.image);
  return WithName(options.image, [&] { return ViewFlash(image); });
}

FlashView Report(const FlashOptions& options, TextOf text) {
  FlashView view = Look(options);
  std::cout << (options.json ? FlashJson(view) : text(view));
  return view;
}

int RequireStart(const FlashOptions& options, const FlashView& view) {
  if (view.start_up.works) return kAccepted;
  throw Error(options.image.string() + ": a device would not start on this image", kRefused);
}

int List(const FlashOptions& options) {
  return RequireStart(options, Report(options, FlashListText));
}

int Show(const FlashOptions& options) {
  Report(options, FlashShowText);
  return kAccepted;
}

int Verify(const FlashOptions& options) {
  return StatusOf(Report(options, FlashVerifyText));
}

// Whether a terminal shows it as it is, and takes none of it for a command.
bool IsText(std::string_view content) {
  return std::all_of(content.begin(), content.end(), [](char byte) {
    return (byte >= ' ' && byte <= '~') || byte == '\t' || byte == '\n' || byte == '\r';
  });
}

int Cat(const FlashOptions& options) {
  const std::string image = Load(options.image);
  const std::string content = WithName(options.image, [&] { return ReadPiece(image, options.name); });
  if (isatty(STDOUT_FILENO) == 1 && !IsText(content))
    throw Error(options.image.string() + ": '" + options.name + "' is binary: redirect it to a file");
  std::cout << content;
  return kAccepted;
}

int Create(const FlashOptions& options) {
  std::error_code unknown;
  if (fs::exists(fs::symlink_status(options.image, unknown))) {
    throw Error(options.image.string() + ": is there already; remove it first");
  }
  WriteFile(options.image, EmptyFlash());
  return kAccepted;
}

// A file that was given by mistake is as long as an image at most by chance, and never has a good area.
void RequireImageSize(const FlashOptions& options, const FlashView& view) {
  if (view.size == kFlashCapacity) return;
  throw Error(options.image.string() + ": is no flash image: has " + std::to_string(view.size) +
              " bytes where a device's has " + std::to_string(kFlashCapacity));
}

void RequireGoodArea(const FlashOptions& options, const FlashView& view, const char* remedy) {
  RequireImageSize(options, view);
  if (view.start_up.loses_all) throw Error(options.image.string() + ": neither area is good; " + remedy);
}

// The room is looked at first: a device would not keep what is too long, whatever it holds.
std::string CrlRecord(const std::string& bundle) {
  std::string record = DeviceCrlRecord(bundle);
  const LUMO_ERROR_CODE code = DeviceBundleCode(bundle);
  if (code == LUMO_OK || code == LUMO_ERR_LIST_FULL) return record;
  throw Error("a device takes no CRL of it: " + DeviceCodeText(code) +
              "; `fwpack inspect` shows what it holds");
}

int Put(const FlashOptions& options) {
  const std::string image = Load(options.image);
  RequireGoodArea(options, Look(options),
                  "make an image with `fwpack flash IMAGE create`, or `repair --format`");
  const std::string file = ReadSmallFile(options.file, kMaxFlashImage);
  const std::string content = options.as_crl ? WithName(options.file, [&] { return CrlRecord(file); }) : file;
  WriteFile(options.image, WithName(options.image, [&] { return PutPiece(image, options.name, content); }));
  return kAccepted;
}

int Repair(const FlashOptions& options) {
  if (options.dry_run) return Verify(options);
  const FlashView view = Look(options);
  RequireImageSize(options, view);
  if (!options.format)
    RequireGoodArea(options, view, "`repair --format` does what a device does then: it starts with no files");
  if (view.start_up.works && !view.start_up.is_idle()) WriteFile(options.image, view.start_up.flash);
  std::cout << (options.json ? FlashJson(view) : FlashVerifyText(view));
  return RequireStart(options, view);
}

// What the commands of "flash" are added with.
struct Adder {
  CLI::App& flash;
  std::shared_ptr<FlashOptions> options;
  int& exit_status;

  CLI::App& Add(const char* name, const char* description, int (*run)(const FlashOptions&),
                const char* example) const {
    CLI::App& command = *flash.add_subcommand(name, description);
    command.callback([options = options, run, &status = exit_status] { status = run(*options); });
    command.footer(std::string("Examples:\n  ") + example);
    return command;
  }
  CLI::App& AddReport(const char* name, const char* description, int (*run)(const FlashOptions&),
                      const char* example) const {
    CLI::App& command = Add(name, description, run, example);
    command.add_flag("--json", options->json,
                     "Print all that is known of the image as JSON, failures included");
    return command;
  }
  void AddName(CLI::App& command) const {
    command.add_option("NAME", options->name, "The file in the image, as \"CmsCrl\"")
        ->required()
        ->type_name("NAME");
  }
};

void AddWriters(const Adder& adder) {
  adder.Add("create", "Make an image with no files; never over a file that is there", Create,
            "fwpack flash nvram.img create");
  CLI::App& put = adder.Add("put", "Store a file in an image, in place of one of that name", Put,
                            "fwpack flash nvram.img put CmsCrl bundle.pem --crl");
  adder.AddName(put);
  put.add_option("FILE", adder.options->file, "What to store")->required()->type_name("FILE");
  put.add_flag("--crl", adder.options->as_crl,
               "FILE is a CRL bundle: store it in the record that the device keeps, as \"-backup\" does");
  CLI::App& repair = adder.AddReport(
      "repair", "Do to an image what a device's start-up does: the good area repairs the other", Repair,
      "fwpack flash nvram.img repair --dry-run");
  repair.add_flag("--dry-run", adder.options->dry_run,
                  "Only say what would be done; exit 2 when it is anything");
  repair.add_flag("--format", adder.options->format,
                  "Also when neither area is good, so that a device starts with no files");
}

}  // namespace

void AddFlashCommand(CLI::App& app, int& exit_status) {
  CLI::App& command = *app.add_subcommand("flash", "Look into and make the flash image of a device");
  const Adder adder{command, std::make_shared<FlashOptions>(), exit_status};
  command.add_option("IMAGE", adder.options->image, "The flash image")->required()->type_name("FILE");
  command.require_subcommand(1);
  command.footer(
      "Commands that look never change the image; those that make leave it whole or as it was.\n"
      "\n"
      "Examples:\n"
      "  fwpack flash nvram.img create\n"
      "  fwpack flash nvram.img put CmsCrl bundle.pem --crl\n"
      "  fwpack flash nvram.img list\n"
      "  fwpack flash nvram.img verify");
  adder.AddReport("list", "The files that a device would find after its start-up", List,
                  "fwpack flash nvram.img list");
  adder.AddReport("show", "Heads, checksums and descriptors of both areas", Show,
                  "fwpack flash nvram.img show");
  adder.AddReport("verify", "Say whether both areas are good and the same; exit 2 when start-up would write",
                  Verify, "fwpack flash nvram.img verify");
  CLI::App& cat = adder.Add("cat", "Print the allocated bytes of a file", Cat,
                            "fwpack flash nvram.img cat startup_check_info | xxd");
  adder.AddName(cat);
  AddWriters(adder);
}

}  // namespace fwpack
