#include "fuzz/seeds.h"

#include <stdexcept>

#include "tests/support/flash_model.h"
#include "tests/support/test_cms.h"
#include "tests/support/test_package.h"

namespace {

using pki::Bytes;

struct World {
  pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  pki::Cert signer = pki::Issue(root, pki::CodeSignerSpec("Signer", {2}));
  pki::Cert tsa = pki::Issue(root, pki::TimeStamperSpec("Stamper", {3}));

  [[nodiscard]] Bytes Crl() const {
    pki::CrlSpec spec;
    spec.revoked = {{.serial = {9}, .date = pki::Utc(2024, 1, 1), .reason = 1}};
    return pki::MakeCrl(root, spec);
  }

  [[nodiscard]] Bytes Message(bool attributes) const {
    pki::SignerSpec spec{.signer = signer};
    spec.signed_attributes = attributes;
    spec.token = pki::TokenSpec{.tsa = tsa, .certs = {tsa}};
    return pki::MakeCms(
        {.content = der::FromText("x"), .content_file = {}, .signers = {spec}, .certs = {signer}});
  }
};

// A package whose bundle ends in the root.
Bytes PackageSeed(const World& world) {
  const std::string bundle = pki::PemBundle({world.Crl()}, {world.signer, world.root});
  return package::Build(der::FromText("content"), world.Message(true), der::FromText(bundle));
}

// The same with DER in the bundle and PEM around the signature.
Bytes TurnedPackageSeed(const World& world) {
  return package::Build(der::FromText("content"), der::FromText(pki::Pem("CMS", world.Message(false))),
                        der::Concat(world.Crl(), world.root.der));
}

// How the areas are stamped, then the beginning of an area with two files: heads, descriptors, zeros behind
// them.
Bytes FlashSeed(std::uint8_t control) {
  FlashModel model;
  model.Start();
  model.Write("a", Bytes(50, 0x55));
  model.Write("crl", Bytes(100, 0xAA));
  const Bytes flash = model.Flash();
  constexpr std::ptrdiff_t kHeadsAndSomeDescriptors = 128 + 4 * 76;
  return der::Concat(Bytes{control}, Bytes(flash.begin(), flash.begin() + kHeadsAndSomeDescriptors));
}

}  // namespace

std::vector<Bytes> SeedsFor(const std::string& parser) {
  if (parser == "flash") return {FlashSeed(1), FlashSeed(3), FlashSeed(5)};
  if (parser == "tail") return {package::Tail(200, 100), package::Block(der::FromText("payload"))};
  const World world;
  const std::string bundle = pki::PemBundle({world.Crl()}, {world.root, world.signer});
  if (parser == "base64") return {der::FromText("TWFu  \r\nTWE=\n"), der::FromText(bundle)};
  if (parser == "bundle") return {der::FromText(bundle), der::Concat(world.Crl(), world.root.der)};
  if (parser == "cert") return {world.root.der, world.signer.der, world.tsa.der};
  if (parser == "cms") return {world.Message(true), world.Message(false)};
  if (parser == "crl") return {world.Crl()};
  if (parser == "signature")
    return {world.Message(true), der::FromText(pki::Pem("CMS", world.Message(false)))};
  if (parser == "lint") return {PackageSeed(world), TurnedPackageSeed(world)};
  if (parser == "view")
    return {PackageSeed(world),    TurnedPackageSeed(world), package::Tail(200, 100),
            der::FromText(bundle), world.root.der,           world.Message(true)};
  throw std::invalid_argument("no parser of the name " + parser);
}
