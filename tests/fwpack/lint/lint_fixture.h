#ifndef FWVET_TESTS_FWPACK_LINT_LINT_FIXTURE_H
#define FWVET_TESTS_FWPACK_LINT_LINT_FIXTURE_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/support/test_world.h"
#include "tools/fwpack/device/device_run.h"

// Packages that break one rule each, and what the device's own code does with them.
namespace linttest {

using der::Bytes;
using pki::Cert;

const world::World& Maker();

/// A package and the bundle on the device that it comes to.
struct Sample {
  Bytes package{};
  std::optional<Bytes> device_crl{};
  bool flash_is_lost = false;  // the device then has no bundle
};

/// What goes into a package. As it stands the device accepts it and no rule has anything to say.
struct Plan {
  Bytes content = der::FromText("software");
  Cert signer = Maker().signer;
  std::optional<std::vector<Cert>> certs{};  // in the signature; none: the signer's and the CA's
  Cert tsa = Maker().tsa;
  std::string digest = "SHA256";
  pki::Time time = pki::Utc(2024, 6, 1, 12);
  bool pem_signature = false;
  std::optional<Bytes> signature{};  // as it is
  std::vector<Bytes> crls = {pki::MakeCrl(Maker().root, {}), pki::MakeCrl(Maker().ca, {})};
  std::vector<Cert> bundle_certs = {Maker().ca};
  bool der_bundle = false;
  std::optional<Bytes> bundle{};  // as it is
};

Bytes SignatureOf(const Plan& plan);
Bytes BundleOf(const Plan& plan);
Bytes PackageOf(const Plan& plan);
/// A block of a package: payload, bytes that nobody reads, tail record with a payload CRC.
Bytes Block(const Bytes& payload, std::size_t gap = 0, std::uint16_t crc_error = 0);

/// A package of that plan on a device without a bundle.
Sample Of(const Plan& plan);

/// The bundle of a plan with CRLs that were issued a month before.
Bytes OlderBundle();
/// `count` CRLs of the CA, all different.
std::vector<Bytes> ManyCrls(std::size_t count);
/// A certificate for the key of `like`, issued by the CA (or `issuer`).
Cert SignerFrom(pki::CertSpec spec);
/// The CA's certificate made anew: its name and key, another content.
Cert CaFrom(pki::CertSpec spec);
/// The same from fields.
Cert FromRaw(const pki::RawCert& raw, const pki::Key& key, const Cert& issuer);

/// What the device does with a package.
enum class Outcome {
  kAccepted,
  kRefused,
  kKept,     // accepted, and a backup leaves the older bundle of the device
  kCleared,  // accepted, and a backup leaves the device without any
};

struct Case {
  std::string name{};
  std::string rule{};
  std::function<Sample()> sample{};
  Outcome outcome = Outcome::kAccepted;
};
void PrintTo(const Case& each, std::ostream* out);

/// Packages that break a rule, and such as just keep it.
std::vector<Case> BrokenMessages();
std::vector<Case> BrokenCerts();
std::vector<Case> BrokenCrls();
std::vector<Case> BrokenBundles();
std::vector<Case> NearMisses();

}  // namespace linttest

#endif
