#include "tools/fwpack/devpki.h"

#include <algorithm>
#include <utility>

#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"
#include "tools/fwpack/root.h"

namespace fwpack {
namespace {

constexpr unsigned int kRootKeyBits = 4096;
constexpr unsigned int kMinKeyBits = 2048;
constexpr unsigned int kMaxKeyBits = 4096;
constexpr unsigned int kMaxSigners = 99;
constexpr std::size_t kMaxPrefix = 40;
constexpr UtcTime kDefaultLifetime = kSecondsPerDay * 365 * 20;

struct Times {
  UtcTime not_before = 0;
  UtcTime not_after = 0;
  UtcTime this_update = 0;
  UtcTime next_update = 0;
};

struct Member {
  CertPtr cert{};
  KeyPtr key{};
};

UtcTime RecentMidnight() {
  return (Now() / kSecondsPerDay - 1) * kSecondsPerDay;
}

Times ResolveTimes(const DevPkiOptions& options) {
  Times times;
  times.not_before = options.not_before ? *options.not_before : RecentMidnight();
  times.not_after = options.not_after.value_or(times.not_before + kDefaultLifetime);
  times.this_update = options.this_update.value_or(times.not_before);
  times.next_update = options.next_update.value_or(times.not_after);
  if (times.not_after <= times.not_before) throw Error("--not-after is not later than --not-before");
  if (times.next_update <= times.this_update) throw Error("--next-update is not later than --this-update");
  return times;
}

void CheckOptions(const DevPkiOptions& options) {
  if (options.signers < 1 || options.signers > kMaxSigners) {
    throw Error("--signers must be 1 to " + std::to_string(kMaxSigners));
  }
  if (options.key_bits < kMinKeyBits || options.key_bits > kMaxKeyBits || options.key_bits % 64 != 0) {
    throw Error("--key-bits must be 2048 to 4096 and a multiple of 64");
  }
  const std::string& prefix = options.subject_prefix;
  const auto printable = [](char c) { return c >= ' ' && c <= '~'; };
  if (prefix.empty() || prefix.size() > kMaxPrefix || !std::all_of(prefix.begin(), prefix.end(), printable)) {
    throw Error("--subject-prefix must be 1 to " + std::to_string(kMaxPrefix) +
                " printable ASCII characters");
  }
  (void)DigestNamed(options.digest);
}

// Makes the members one after the other and puts them into the directory.
class DevPkiMaker {
 public:
  DevPkiMaker(const DevPkiOptions& options, const Times& times, OutputDirectory& out)
      : options_(options), times_(times), out_(out) {}

  Member MakeRoot() {
    Member root;
    root.key = MakeRsaKey(kRootKeyBits);
    root.cert = MakeCert(Spec(CertKind::kCa, "Root CA"), root.key.get(), nullptr, root.key.get());
    const RootCheck check = CheckRootCertificate(CertToPem(root.cert.get()));
    if (!check.broken_rule.empty()) throw Error("the root would not fit the device: it " + check.broken_rule);
    out_.Add("root.pem", check.padded);
    out_.AddSecret("root.key", TextOf(KeyToPem(root.key.get())));
    return root;
  }

  Member MakeMember(const std::string& file, CertKind kind, const std::string& common_name,
                    const Member& issuer) {
    Member member;
    member.key = MakeRsaKey(options_.key_bits);
    member.cert = MakeCert(Spec(kind, common_name), member.key.get(), issuer.cert.get(), issuer.key.get());
    out_.Add(file + ".pem", CertToPem(member.cert.get()));
    out_.AddSecret(file + ".key", TextOf(KeyToPem(member.key.get())));
    return member;
  }

  std::string MakeEmptyCrl(const std::string& file, const Member& issuer) {
    CrlSpec spec;
    spec.this_update = times_.this_update;
    spec.next_update = times_.next_update;
    spec.digest = options_.digest;
    std::string text = CrlToPem(MakeCrl(spec, issuer.cert.get(), issuer.key.get()).get());
    out_.Add(file + ".crl", text);
    return text;
  }

 private:
  [[nodiscard]] CertSpec Spec(CertKind kind, const std::string& common_name) const {
    CertSpec spec;
    spec.kind = kind;
    spec.common_name = options_.subject_prefix + " " + common_name;
    spec.not_before = times_.not_before;
    spec.not_after = times_.not_after;
    spec.digest = options_.digest;
    return spec;
  }

  const DevPkiOptions& options_;
  const Times& times_;
  OutputDirectory& out_;
};

}  // namespace

std::string BundleText(const std::array<std::string, 3>& crls, const std::string& issuing_ca,
                       const std::string& tsa_ca) {
  return crls[0] + crls[1] + crls[2] + issuing_ca + tsa_ca;
}

void MakeDevPki(const DevPkiOptions& options) {
  CheckOptions(options);
  const Times times = ResolveTimes(options);
  OutputDirectory out(options.directory);
  DevPkiMaker maker(options, times, out);

  const Member root = maker.MakeRoot();
  const Member issuing_ca = maker.MakeMember("issuing-ca", CertKind::kCa, "Issuing CA", root);
  const Member tsa_ca = maker.MakeMember("tsa-ca", CertKind::kCa, "Time Stamping CA", root);
  for (unsigned int i = 1; i <= options.signers; ++i) {
    const std::string number = i == 1 ? "" : std::to_string(i);
    (void)maker.MakeMember("signer" + number, CertKind::kCodeSigner, "Signer " + std::to_string(i),
                           issuing_ca);
  }
  (void)maker.MakeMember("tsa", CertKind::kTimeStamper, "Time Stamping", tsa_ca);

  const std::array<std::string, 3> crls = {maker.MakeEmptyCrl(kPkiIssuers[0], root),
                                           maker.MakeEmptyCrl(kPkiIssuers[1], issuing_ca),
                                           maker.MakeEmptyCrl(kPkiIssuers[2], tsa_ca)};
  out.Add("bundle.pem", BundleText(crls, CertToPem(issuing_ca.cert.get()), CertToPem(tsa_ca.cert.get())));
  out.Commit();
}

}  // namespace fwpack
