#include "tests/fwpack/check/agreement_cases.h"

#include <algorithm>
#include <map>

#include "tests/support/flash_model.h"

namespace checktest {
namespace {

using world::CrlPlan;
using world::PackagePlan;

const Bytes& Good() {
  static const Bytes package = Maker().Package({});
  return package;
}

const Bytes& GoodSignature() {
  static const Bytes signature = Maker().Signature({});
  return signature;
}

Bytes WithCrl(const Bytes& crl) {
  return package::Build(der::FromText("software"), GoodSignature(), crl);
}

Bytes Counting(std::size_t length) {
  Bytes content(length);
  for (std::size_t i = 0; i < length; ++i) content[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  return content;
}

Bytes Changed(Bytes bytes, std::size_t at, std::uint8_t mask) {
  bytes.at(at) ^= mask;
  return bytes;
}

// `count` numbers below `end`, spread evenly, the first and the last among them.
std::vector<std::size_t> Spread(std::size_t end, std::size_t count) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < count; ++i) places.push_back(i * (end - 1) / (count - 1));
  return places;
}

Bytes Crls(const CrlPlan& plan) {
  return Maker().Crls(plan);
}

}  // namespace

Cases GenuineCases() {
  Cases cases;
  for (const char* digest : {"SHA256", "SHA384", "SHA512"}) {
    for (unsigned bits = 0; bits < 16; ++bits) {
      const bool pem = (bits & 1U) != 0;
      const bool attributes = (bits & 2U) != 0;
      const bool der_crl = (bits & 4U) != 0;
      const bool backup = (bits & 8U) != 0;
      const PackagePlan plan{.crl = {.as_der = der_crl},
                             .digest = digest,
                             .signed_attributes = attributes,
                             .pem_signature = pem};
      cases.push_back({.name = std::string(digest) + (pem ? " PEM" : " DER") +
                               (attributes ? " attributes" : " plain") +
                               (der_crl ? " DER CRLs" : " PEM CRLs") + (backup ? " backup" : ""),
                       .package = Maker().Package(plan),
                       .backup = backup});
    }
  }
  for (const std::size_t length :
       {std::size_t{1}, std::size_t{0xFFFFF}, std::size_t{0x100000}, std::size_t{0x100001}}) {
    cases.push_back({.name = "content of " + std::to_string(length),
                     .package = Maker().Package({.content = Counting(length)})});
  }
  cases.push_back({.name = "empty content", .package = Maker().Package({.content = {}})});
  return cases;
}

Cases ChangedCases() {
  Cases cases;
  const Bytes package = Maker().Package({.crl = {.as_der = true}});
  const std::size_t content = PackagePlan{}.content.size();
  // The blocks get most of the places; every byte of both tails stands in the table of lies and spreads
  // below.
  for (const std::size_t at : Spread(package.size(), 60)) {
    cases.push_back({.name = "byte " + std::to_string(at), .package = Changed(package, at, 0x01)});
  }
  for (std::size_t at = 0; at < content; ++at) {
    cases.push_back({.name = "content byte " + std::to_string(at), .package = Changed(package, at, 0x80)});
  }
  const std::size_t crl_tail = package.size() - package::kEndPad - package::kTailSize;
  for (std::size_t at = 0; at < package::kTailSize; at += 3) {
    cases.push_back(
        {.name = "CRL tail byte " + std::to_string(at), .package = Changed(package, crl_tail + at, 0x80)});
  }
  return cases;
}

Cases TruncatedCases() {
  Cases cases;
  for (const std::size_t length : Spread(Good().size(), 40)) {
    cases.push_back({.name = "cut to " + std::to_string(length),
                     .package = Bytes(Good().begin(), Good().begin() + static_cast<std::ptrdiff_t>(length))});
  }
  for (const std::size_t missing : {1U, 31U, 32U, 33U, 67U, 68U, 99U, 100U, 101U}) {
    const auto end = Good().end() - static_cast<std::ptrdiff_t>(missing);
    cases.push_back(
        {.name = "without the last " + std::to_string(missing), .package = Bytes(Good().begin(), end)});
  }
  cases.push_back({.name = "one byte too long", .package = der::Concat(Good(), Bytes(1))});
  cases.push_back({.name = "a byte in front", .package = der::Concat(Bytes(1), Good())});
  return cases;
}

Cases LyingTailCases() {
  const std::map<std::string, std::pair<std::uint32_t, std::uint32_t>> lies{
      {"zeros", {0, 0}},
      {"only the tail", {68, 0}},
      {"the tail as payload", {68, 68}},
      {"overlapping the block behind", {10, 500}},
      {"the front of the file", {1000000, 10}},
      {"wrapping to itself", {0xFFFFFFFFU, 1}},
      {"half the range", {0x80000000U, 1}},
      {"gigabytes", {500, 0xFFFFFFFFU}},
      {"two gigabytes", {500, 0x7FFFFFFFU}},
      {"wrapping to the front", {500, 0xFFFFFE0CU}}};
  Cases cases;
  const Bytes content = der::FromText("software");
  const Bytes crl = Crls({});
  for (const auto& [name, lengths] : lies) {
    const Bytes tail = package::Tail(lengths.first, lengths.second);
    const Bytes end(package::kEndPad);
    cases.push_back({.name = "CRL tail: " + name,
                     .package = der::Concat(content, package::Block(GoodSignature()), crl, tail, end)});
    cases.push_back({.name = "signature tail: " + name,
                     .package = der::Concat(content, GoodSignature(), tail, package::Block(crl), end)});
  }
  return cases;
}

Cases PlainCases() {
  Cases cases;
  for (const std::size_t length : {0U, 1U, 67U, 68U, 99U, 100U, 101U, 5000U}) {
    cases.push_back({.name = "plain file of " + std::to_string(length), .package = Counting(length)});
  }
  for (const std::uint32_t mode : {0U, 3U, kAdmitPlain}) {
    for (const std::uint32_t magic : {kMagic, kMagic + 1}) {
      for (const bool backup : {false, true}) {
        const std::string record =
            std::to_string(magic) + "/" + std::to_string(mode) + (backup ? " backup" : "");
        const Bytes flash = FlashWithStartup(magic, mode);
        cases.push_back(
            {.name = "plain, record " + record, .package = Counting(500), .flash = flash, .backup = backup});
        cases.push_back(
            {.name = "short, record " + record, .package = Counting(50), .flash = flash, .backup = backup});
        cases.push_back(
            {.name = "genuine, record " + record, .package = Good(), .flash = flash, .backup = backup});
        cases.push_back({.name = "changed, record " + record,
                         .package = Changed(Good(), 0, 1),
                         .flash = flash,
                         .backup = backup});
      }
    }
  }
  return cases;
}

Cases BundleCases() {
  Cases cases;
  const auto add = [&cases](const std::string& name, const Bytes& crl) {
    for (const bool backup : {false, true}) {
      cases.push_back({.name = name + (backup ? " backup" : ""), .package = WithCrl(crl), .backup = backup});
    }
  };
  add("no bytes", {});
  add("garbage", Bytes(64, 'x'));
  add("37 bytes", Bytes(37, 0x30));
  add("without the root's CRL", Crls({.with_root_crl = false}));
  add("without the CA's CRL", Crls({.with_ca_crl = false}));
  add("without CRLs", Crls({.with_root_crl = false, .with_ca_crl = false}));
  add("without certificates", Crls({.with_ca_cert = false}));
  add("filling the device's room", Crls({.padding = 32768 - Crls({}).size()}));
  add("one byte above the device's room", Crls({.padding = 32769 - Crls({}).size()}));
  add("far above the device's room", Crls({.padding = 100000}));
  std::vector<Bytes> crls;
  for (int i = 0; i < 17; ++i) {
    crls.push_back(pki::MakeCrl(Maker().ca, {.this_update = pki::Utc(2024, 5, 1) + i}));
    if (i >= 13) {
      const Bytes more = der::FromText(pki::PemBundle(crls, {}));
      add(std::to_string(i + 2) + " CRLs", der::Concat(Crls({.with_ca_crl = false}), more));
    }
  }
  const pki::CrlSpec many{.revoked =
                              std::vector<pki::Revoked>(21, {.serial = {9}, .date = pki::Utc(2024, 5, 1)})};
  add("a CRL of 21 entries",
      der::Concat(Crls({.with_ca_crl = false}),
                  der::FromText(pki::PemBundle({pki::MakeCrl(Maker().ca, many)}, {}))));
  const pki::CrlSpec endless{.next_update = std::nullopt};
  add("a CRL without nextUpdate",
      der::Concat(Crls({.with_ca_crl = false}),
                  der::FromText(pki::PemBundle({pki::MakeCrl(Maker().ca, endless)}, {}))));
  return cases;
}

Cases RevocationCases() {
  Cases cases;
  const auto& maker = Maker();
  const std::map<std::string, const world::Cert*> revoked{
      {"signer", &maker.signer}, {"time stamper", &maker.tsa}, {"CA", &maker.ca}};
  const std::map<std::string, pki::Time> dates{{"before", pki::Utc(2024, 5, 2)},
                                               {"after", pki::Utc(2024, 7, 1)}};
  for (const auto& [who, cert] : revoked) {
    for (const auto& [when, date] : dates) {
      for (const int reason : {-1, 1, 3, 4, 5, 9}) {
        const auto entry = world::Revoke(*cert, date, reason < 0 ? std::nullopt : std::optional(reason));
        CrlPlan plan{.root_update = pki::Utc(2024, 5, 3), .ca_update = pki::Utc(2024, 5, 3)};
        (who == "CA" ? plan.by_root : plan.by_ca) = {entry};
        const std::string name = who + " revoked " + when + ", reason " + std::to_string(reason);
        const bool backup = reason == 1;
        cases.push_back({.name = name + ", package", .package = WithCrl(Crls(plan)), .backup = backup});
        cases.push_back(
            {.name = name + ", device", .package = Good(), .flash = FlashWith(Crls(plan)), .backup = backup});
      }
    }
  }
  return cases;
}

Cases ValidityCases() {
  Cases cases;
  const auto add = [&cases](const std::string& name, const PackagePlan& plan) {
    cases.push_back({.name = name, .package = Maker().Package(plan)});
  };
  for (const pki::Time time : {pki::Utc(2019, 12, 31, 23, 59, 59), pki::Utc(2020, 1, 1), pki::Utc(2034, 5, 1),
                               pki::Utc(2034, 5, 1, 0, 0, 59), pki::Utc(2034, 5, 2), pki::Utc(2040, 1, 1),
                               pki::Utc(2040, 1, 2), pki::Utc(2051, 1, 1)}) {
    add("stamped at " + std::to_string(time), {.time = time});
  }
  const auto signer_with = [](pki::Time from, pki::Time to) {
    pki::CertSpec spec = pki::CodeSignerSpec("signer", {9});
    spec.not_before = from;
    spec.not_after = to;
    return pki::Issue(Maker().ca, spec);
  };
  const pki::Time stamp = PackagePlan{}.time;
  for (const pki::Time off :
       {pki::Time{-86400}, pki::Time{-1}, pki::Time{0}, pki::Time{1}, pki::Time{86400}}) {
    add("signer from stamp and " + std::to_string(off),
        {.signer = signer_with(stamp + off, pki::Utc(2040, 1, 1))});
    add("signer to stamp and " + std::to_string(off),
        {.signer = signer_with(pki::Utc(2020, 1, 1), stamp + off)});
  }
  return cases;
}

Cases DeviceCrlCases() {
  const pki::Time before = pki::Utc(2024, 4, 1);
  const pki::Time later = pki::Utc(2024, 5, 20);
  const std::map<std::string, Bytes> stored{{"same", Crls({})},
                                            {"same in DER", Crls({.as_der = true})},
                                            {"newer", Crls({.root_update = later, .ca_update = later})},
                                            {"older", Crls({.root_update = before, .ca_update = before})},
                                            {"mixed", Crls({.root_update = later, .ca_update = before})},
                                            {"without certificates", Crls({.with_ca_cert = false})},
                                            {"without the CA's CRL", Crls({.with_ca_crl = false})},
                                            {"garbage", Bytes(500, 'x')},
                                            {"garbage that fills the room", Bytes(32768, 'x')},
                                            {"nothing", {}}};
  Cases cases;
  for (const auto& [name, crl] : stored) {
    for (const bool backup : {false, true}) {
      const std::string how = "device has " + name + (backup ? " backup" : "");
      cases.push_back({.name = how, .package = Good(), .flash = FlashWith(crl), .backup = backup});
      cases.push_back({.name = how + ", changed package",
                       .package = Changed(Good(), 3, 1),
                       .flash = FlashWith(crl),
                       .backup = backup});
    }
  }
  const Bytes twice = der::Concat(Crls({.ca_update = later}), Crls({.with_root_crl = false}));
  cases.push_back({.name = "package has two CRLs of one issuer",
                   .package = WithCrl(twice),
                   .flash = FlashWith(Crls({})),
                   .backup = true});
  FlashModel model;
  model.Start();
  model.Write("CmsCrl", DeviceCrlRecord({}, 40000));
  cases.push_back({.name = "device has a length without a bundle",
                   .package = Good(),
                   .flash = model.Flash(),
                   .backup = true});
  return cases;
}

Cases FlashCases() {
  constexpr std::size_t kArea = FlashModel::kAreaSize;
  const Bytes good = FlashWith(Crls({}));
  std::map<std::string, std::optional<Bytes>> images{
      {"of a new device", std::nullopt},
      {"empty", Bytes{}},
      {"one byte", Bytes(1)},
      {"half", Bytes(good.begin(), good.begin() + kArea)},
      {"three quarters", Bytes(good.begin(), good.begin() + kArea + kArea / 2)},
      {"too long", der::Concat(good, Bytes(1000, 7))},
      {"zeros", Bytes(2 * kArea)},
      {"erased", Bytes(2 * kArea, 0xFF)},
      {"other area", der::Concat(Bytes(good.begin() + kArea, good.end()), Bytes(kArea))}};
  for (const std::size_t at : {0U, 4U, 8U, 12U, 40U, 20000U, 52352U, 60000U, 0x7FFFFU}) {
    const std::string place = " byte " + std::to_string(at);
    images["main" + place] = Changed(good, at, 0x10);
    images["spare" + place] = Changed(good, kArea + at, 0x10);
    images["both" + place] = Changed(Changed(good, at, 0x10), kArea + at, 0x10);
  }
  Cases cases;
  for (const auto& [name, image] : images) {
    cases.push_back({.name = "flash: " + name, .package = Good(), .flash = image});
    cases.push_back({.name = "flash, backup: " + name, .package = Good(), .flash = image, .backup = true});
  }
  FlashModel full;
  full.Start();
  for (int i = 0; i < 256; ++i) full.Write("file" + std::to_string(i), Bytes(32));
  cases.push_back({.name = "flash, backup: full", .package = Good(), .flash = full.Flash(), .backup = true});
  return cases;
}

}  // namespace checktest
