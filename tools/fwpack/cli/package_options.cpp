#include "tools/fwpack/cli/package_options.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>
#include <memory>
#include <utility>

#include "tools/fwpack/check/check.h"
#include "tools/fwpack/cli/options.h"
#include "tools/fwpack/cli/progress.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/timestamp.h"

namespace fwpack {
namespace {

std::vector<X509*> Borrow(const std::vector<CertPtr>& certs) {
  std::vector<X509*> borrowed;
  borrowed.reserve(certs.size());
  for (const CertPtr& cert : certs) borrowed.push_back(cert.get());
  return borrowed;
}

void AddPassphraseOptions(CLI::App& command, const std::string& prefix, PassphraseSource& source) {
  CLI::Option* file = command
                          .add_option(prefix + "passphrase-file", source.file,
                                      "File whose first line is the passphrase or PIN")
                          ->type_name("FILE");
  command
      .add_option(prefix + "passphrase-env", source.variable,
                  "Environment variable with the passphrase or PIN")
      ->type_name("NAME")
      ->excludes(file);
}

template <class Parse>
void AddParsedOption(CLI::App& command, const std::string& name, const std::string& type,
                     const std::string& help, Parse parse) {
  command
      .add_option_function<std::string>(
          name,
          [name, parse](const std::string& text) {
            try {
              parse(text);
            } catch (const Error& error) {
              throw CLI::ValidationError(error.what());
            }
          },
          help)
      ->type_name(type);
}

void AddTailOptions(CLI::App& command, SignatureWish& wish) {
  TailFields& tail = wish.tail;
  command.add_option("--product", tail.product, "Product name in the tail records, at most 12 bytes")
      ->type_name("TEXT");
  command.add_option("--description", tail.description, "Description in the tail records, at most 8 bytes")
      ->type_name("TEXT");
  AddParsedOption(command, "--package-version", "V.R.LLL.C.SP.B.D",
                  "Version in the tail records; LLL are three characters, the others numbers",
                  [&tail](const std::string& text) { tail.version = ParsePackageVersion(text); });
  AddParsedOption(
      command, "--file-type", "NUMBER", "Kind of file in the tail records, 0 to 65535; default: 0",
      [&tail](const std::string& text) { tail.file_type = ParseTailNumber("--file-type", text); });
  AddParsedOption(
      command, "--code-type", "NUMBER", "Kind of payload in the tail records, 0 to 65535; default: 0",
      [&tail](const std::string& text) { tail.code_type = ParseTailNumber("--code-type", text); });
  AddTimeOption(command, "--build-time", wish.build_time,
                "Build time in the tail records; default: SOURCE_DATE_EPOCH, else the signing time");
}

TimeStampSource MakeLocalStamps(const IdentitySource& source, const CaCertificates& ca,
                                std::optional<UtcTime> time) {
  const auto identity = std::make_shared<Identity>(LoadIdentity(source));
  return [identity, &ca, time](const std::string& signature, const EVP_MD* digest) {
    TimeStamper stamper{
        .cert = identity->cert.get(), .key = identity->key.get(), .chain = {}, .digest = digest};
    std::vector<X509*> candidates = ca.all();
    for (const CertPtr& cert : identity->chain) candidates.push_back(cert.get());
    if (X509* issuer = FindCarriedIssuer(stamper.cert, candidates)) stamper.chain.push_back(issuer);
    return MakeTimeStampToken(stamper, signature, time ? *time : Now());
  };
}

// Certificates that a time-stamp may leave out: the device takes them from the bundle.
std::shared_ptr<CaCertificates> KnownToDevice(const std::vector<CertPtr>& bundle) {
  return std::make_shared<CaCertificates>(std::vector<std::filesystem::path>{}, bundle);
}

void RequireOneSource(const StampOptions& options) {
  const bool has_local = !options.local.key.empty() || !options.local.cert.empty();
  const int sources =
      (options.server.url.empty() ? 0 : 1) + (options.file.empty() ? 0 : 1) + (has_local ? 1 : 0);
  if (sources == 0) {
    throw Error("no time-stamp; name its source with --tsa-url, --timestamp or --tsa-cert and --tsa-key");
  }
  if (sources > 1) {
    throw Error("more than one source of the time-stamp; give one of --tsa-url, --timestamp, --tsa-key");
  }
  if (has_local && options.local.key.empty()) throw Error("--tsa-cert is given without --tsa-key");
}

std::string Describe(const Reason& reason) {
  std::string text = reason.step;
  if (!reason.where.empty()) text += ": " + reason.where;
  text += ": " + reason.explanation;
  if (!reason.remedy.empty()) text += "; " + reason.remedy;
  return text;
}

std::string WhyRefused(const CheckResult& result) {
  if (result.reasons.empty()) return "no reason found";
  return Describe(result.reasons.front());
}

void Warn(const std::filesystem::path& package, const std::string& text) {
  std::cerr << "fwpack: warning: " << package.string() << ": " << text << "\n";
}

void TellFindings(const CheckResult& result, const std::filesystem::path& package) {
  for (const Finding& finding : result.findings) {
    if (finding.rule->severity == Severity::kNote) continue;
    std::string text = finding.where + ": " + finding.rule->explanation;
    if (!finding.detail.empty()) text += " (" + finding.detail + ")";
    Warn(package, text + "; " + finding.rule->remedy + " [" + finding.rule->id + "]");
  }
}

void JudgePackage(const JudgeOptions& options, const std::filesystem::path& package,
                  const std::filesystem::path& written) {
  CheckOptions check;
  check.package = written;
  check.root = options.root;
  check.device_crl = options.device_crl;
  check.flash = options.flash;
  const CheckResult result = CheckPackage(check);
  TellFindings(result, package);
  if (!result.accepted && !options.force) {
    throw Error(package.string() +
                ": not written, for a device would refuse it (--force writes it nevertheless): " +
                WhyRefused(result));
  }
  if (!result.accepted) Warn(package, "a device would refuse it: " + WhyRefused(result));
}

}  // namespace

CaCertificates::CaCertificates(const std::vector<std::filesystem::path>& files,
                               const std::vector<CertPtr>& chain)
    : owned_(LoadAllCerts(files)), all_(Borrow(owned_)) {
  for (const CertPtr& cert : chain) {
    RequireOpenSsl(X509_up_ref(cert.get()) == 1, "keep a certificate");
    owned_.emplace_back(cert.get());
    all_.push_back(cert.get());
  }
}

void AddCaOption(CLI::App& command, std::vector<std::filesystem::path>& ca) {
  command.add_option("--ca", ca, "File with CA certificates to carry, several times if need be")
      ->type_name("FILE");
}

void AddSignatureOptions(CLI::App& command, SignatureOptions& options) {
  AddCaOption(command, options.ca);
  AddDigestOption(command, options.wish.digest);
  const std::map<std::string, SignatureForm> forms = {{"der", SignatureForm::kDer},
                                                      {"pem", SignatureForm::kPem}};
  command.add_option("--signature-form", options.wish.form, "How the signature is stored; default: der")
      ->transform(CLI::CheckedTransformer(forms).description(""))
      ->type_name("der|pem");
  AddTimeOption(command, "--signing-time,--timestamp-time", options.wish.time,
                "Of the signature and of a time-stamp made here; default: SOURCE_DATE_EPOCH, else now");
  AddTailOptions(command, options.wish);
}

void AddStampOptions(CLI::App& command, StampOptions& options) {
  command.add_option("--tsa-url", options.server.url, "Time-stamp server to ask (RFC 3161, http or https)")
      ->type_name("URL");
  command
      .add_option("--tsa-timeout", options.server.timeout_seconds, "How long the server may take, in seconds")
      ->type_name("SECONDS")
      ->capture_default_str();
  command
      .add_option("--timestamp", options.file,
                  "Time-stamp reply made before, over this very signature value (.tsr)")
      ->type_name("FILE");
  AddIdentityOptions(command, "tsa", options.local);
}

TimeStampSource MakeStampSource(const StampOptions& options, const CaCertificates& ca,
                                const std::filesystem::path& bundle, std::optional<UtcTime> time) {
  RequireOneSource(options);
  if (!options.local.key.empty()) return MakeLocalStamps(options.local, ca, time);
  const auto known = KnownToDevice(ParseCerts(ReadSmallFile(bundle)));
  if (options.file.empty()) {
    RequireUsable(options.server);
    return [server = options.server, known](const std::string& signature, const EVP_MD* digest) {
      return FetchTimeStamp(server, signature, digest, known->all());
    };
  }
  return [file = options.file, known](const std::string& signature, const EVP_MD* /*digest*/) {
    return LoadTimeStamp(file, signature, known->all());
  };
}

void AddJudgeOptions(CLI::App& command, JudgeOptions& options) {
  command.add_option("--root", options.root, "Root certificate of the devices, which judges the result")
      ->type_name("FILE");
  CLI::Option* crl =
      command.add_option("--device-crl", options.device_crl, "Bundle that such a device has stored")
          ->type_name("FILE");
  command.add_option("--flash", options.flash, "Flash image of such a device; default: a new device")
      ->type_name("FILE")
      ->excludes(crl);
  command.add_flag("--force", options.force, "Write the package even when a device would refuse it");
}

Judge MakeJudge(const JudgeOptions& options, const std::filesystem::path& package) {
  if (options.root.empty() && !options.force) {
    throw Error(
        "no --root; give the root certificate of the devices, so that nothing is written that they "
        "refuse, or --force");
  }
  if (options.root.empty()) return {};
  return
      [options, package](const std::filesystem::path& written) { JudgePackage(options, package, written); };
}

std::vector<std::filesystem::path> InputsOf(const JudgeOptions& judge, const StampOptions& stamp,
                                            const std::vector<std::filesystem::path>& ca) {
  std::vector<std::filesystem::path> inputs = ca;
  inputs.insert(inputs.end(), {judge.root, stamp.file, stamp.local.key, stamp.local.cert});
  if (judge.device_crl) inputs.push_back(*judge.device_crl);
  if (judge.flash) inputs.push_back(*judge.flash);
  return inputs;
}

void AddPartsOptions(CLI::App& command, PackageParts& parts) {
  command.add_option("--content", parts.content, "The file to sign")->required()->type_name("FILE");
  command.add_option("--out", parts.package, "The package to write")->required()->type_name("FILE");
  command.add_option("--crl", parts.crl, "The bundle of CRLs and CA certificates")
      ->required()
      ->type_name("FILE");
}

void AddIdentityOptions(CLI::App& command, const std::string& prefix, IdentitySource& source) {
  const bool is_signer = prefix == "signer";
  const std::string who = is_signer ? "code signer" : "time stamper here";
  CLI::Option* key = command
                         .add_option("--" + prefix + "-key", source.key,
                                     "Private key of the " + who + ": PEM, PKCS #12 or pkcs11: URI")
                         ->type_name("FILE|URI");
  if (is_signer) key->required();
  command
      .add_option("--" + prefix + "-cert", source.cert,
                  "Certificate of the " + who + "; default: the one in the PKCS #12 file or token")
      ->type_name("FILE|URI");
  AddPassphraseOptions(command, is_signer ? "--" : "--tsa-", source.passphrase);
}

Progress ShowProgress() {
  const auto bar = std::make_shared<ProgressBar>(stderr, HasTerminal());
  return [bar](std::uint64_t done, std::uint64_t total) { bar->Show(done, total); };
}

}  // namespace fwpack
