#include <algorithm>
#include <functional>
#include <stdexcept>

#include "tests/fwpack/check/agreement_cases.h"
#include "tests/support/forged_messages.h"

namespace checktest {
namespace {

using pki::Cert;

const world::ForgedMessages& Forged() {
  static const world::ForgedMessages messages(Maker(), der::FromText("software"));
  return messages;
}

AgreementCase Make(const std::string& name, const Bytes& signature, const Bytes& crl = Maker().Crls({})) {
  return {.name = name, .package = package::Build(Forged().content(), signature, crl)};
}

Bytes Stamped(const std::function<void(pki::TokenSpec&)>& change) {
  pki::TokenSpec token = Forged().GoodToken();
  change(token);
  return Forged().Message(Maker().signer, token);
}

Cert LeafOf(const Cert& ca) {
  return pki::Issue(ca, pki::CodeSignerSpec("leaf", {9}));
}

Bytes WithMore(const std::vector<Bytes>& crls, const std::vector<Cert>& certs) {
  return der::Concat(Maker().Crls({}), der::FromText(pki::PemBundle(crls, certs)));
}

AgreementCase CaCase(const std::string& name, const std::function<void(pki::CertSpec&)>& change) {
  pki::CertSpec spec = pki::CaSpec("sub-ca", {8});
  change(spec);
  const Cert ca = pki::Issue(Maker().root, spec);
  return Make(name, Forged().Message(LeafOf(ca)), WithMore({pki::MakeCrl(ca, {})}, {ca}));
}

Cert SignerWith(const std::function<void(pki::CertSpec&)>& change) {
  pki::CertSpec spec = pki::CodeSignerSpec("signer", {9});
  change(spec);
  return pki::Issue(Maker().ca, spec);
}

}  // namespace

Cases StampCases() {
  Cases cases;
  const auto stamped = [&cases](const std::string& name, const std::function<void(pki::TokenSpec&)>& change) {
    cases.push_back(Make("stamp " + name, Stamped(change)));
  };
  cases.push_back(Make("stamp of another signature", Forged().WithRawToken(pki::MakeToken(
                                                         Forged().GoodToken(), der::FromText("another")))));
  cases.push_back(Make("stamp over the content",
                       Forged().WithRawToken(pki::MakeToken(Forged().GoodToken(), Forged().content()))));
  cases.push_back(Make("stamp missing", Forged().WithRawToken({})));
  cases.push_back(Make("stamp that is garbage", Forged().WithRawToken(der::Seq(der::Integer(1)))));
  cases.push_back(Make("stamp that is a message", Forged().WithRawToken(Forged().Message(Maker().signer))));
  for (const char* hash : {"SHA1", "SHA256", "SHA384", "SHA512"}) {
    stamped(std::string("of ") + hash, [hash](pki::TokenSpec& token) { token.imprint_hash = hash; });
  }
  for (const char* digest : {"SHA1", "SHA384", "SHA512"}) {
    stamped(std::string("signed with ") + digest, [digest](pki::TokenSpec& token) { token.digest = digest; });
  }
  stamped("without signed attributes", [](pki::TokenSpec& token) { token.signed_attributes = false; });
  stamped("without certificates", [](pki::TokenSpec& token) { token.certs = {}; });
  stamped("by a code signer", [](pki::TokenSpec& token) {
    token.tsa = Maker().other_signer;
    token.certs = {token.tsa};
  });
  stamped("by a self-signed stamper", [](pki::TokenSpec& token) {
    token.tsa = pki::SelfSigned(pki::TimeStamperSpec("stranger"));
    token.certs = {token.tsa};
  });
  stamped("with three certificates", [](pki::TokenSpec& token) {
    token.certs = {Maker().tsa, Maker().ca, Maker().signer};
  });
  for (const char* time :
       {"20240601120000Z", "202406011200Z", "20240601120000.5Z", "2024060112000", "20241301000000Z"}) {
    const std::string text = time;
    const pki::RawSignerInfo info = pki::SignAttributes(Maker().signer, {Forged().RightDigest()});
    pki::TokenSpec token = Forged().GoodToken();
    Bytes tst = pki::MakeTstInfo(token, info.signature);
    const Bytes right = der::GeneralizedTime("20240601120000Z");
    const auto at = std::search(tst.begin(), tst.end(), right.begin(), right.end());
    if (at == tst.end()) throw std::runtime_error("the time of the TSTInfo is not where it was");
    const Bytes front(tst.begin(), at);
    const Bytes rest(at + static_cast<std::ptrdiff_t>(right.size()), tst.end());
    const std::size_t header = tst.size() - der::ContentOf(tst).size();
    const Bytes body(front.begin() + static_cast<std::ptrdiff_t>(header), front.end());
    token.tst_info = der::Seq(body, der::GeneralizedTime(text), rest);
    pki::RawSignerInfo stamped_info = info;
    stamped_info.unsigned_attributes = pki::TokenAttributes(pki::MakeToken(token, info.signature));
    pki::RawSignedData message;
    message.certificates = {Maker().signer.der};
    message.signer_infos = {stamped_info.Encode()};
    cases.push_back(Make("stamp with the time " + text, message.Encode()));
  }
  return cases;
}

Cases SignerCases() {
  Cases cases;
  const auto add = [&cases](const std::string& name, const Bytes& signature, const Bytes& crl) {
    cases.push_back(Make("signer " + name, signature, crl));
  };
  const Bytes crls = Maker().Crls({});
  add("is the other one", Forged().Message(Maker().other_signer), crls);
  add("is the time stamper", Forged().Message(Maker().tsa), crls);
  add("is the CA", Forged().Message(Maker().ca), crls);
  add("is self-signed", Forged().Message(pki::SelfSigned(pki::CodeSignerSpec("stranger"))), crls);
  add("was issued by a leaf", Forged().Message(LeafOf(Maker().signer)), crls);
  add("lacks digitalSignature",
      Forged().Message(SignerWith([](auto& spec) { spec.key_usage = "critical,keyAgreement"; })), crls);
  add("has no key usage", Forged().Message(SignerWith([](auto& spec) { spec.key_usage = ""; })), crls);
  add("has no extended usage", Forged().Message(SignerWith([](auto& spec) { spec.ext_key_usage = ""; })),
      crls);
  add("has codeSigning second",
      Forged().Message(SignerWith([](auto& spec) { spec.ext_key_usage = "emailProtection,codeSigning"; })),
      crls);
  add("was signed with SHA1", Forged().Message(SignerWith([](auto& spec) { spec.digest = "SHA1"; })), crls);
  add("has a serial of 33 bytes",
      Forged().Message(SignerWith([](auto& spec) { spec.serial = Bytes(33, 0x11); })), crls);
  const world::World stranger(pki::SelfSigned(pki::CaSpec("another-root")));
  cases.push_back({.name = "signer under another root", .package = stranger.Package({})});
  pki::CertSpec named = pki::CaSpec("e2e-root");
  named.key = pki::KeyNamed("another-root");
  const world::World forger(pki::SelfSigned(named));
  cases.push_back({.name = "signer under a forged root", .package = forger.Package({})});
  cases.push_back(CaCase("signer under a second CA", [](auto&) {}));
  cases.push_back(
      CaCase("signer under a CA without cRLSign", [](auto& spec) { spec.key_usage = "keyCertSign"; }));
  cases.push_back(
      CaCase("signer under a CA without keyCertSign", [](auto& spec) { spec.key_usage = "cRLSign"; }));
  cases.push_back(
      CaCase("signer under a CA that is none", [](auto& spec) { spec.basic_constraints = "CA:FALSE"; }));
  cases.push_back(
      CaCase("signer under an expired CA", [](auto& spec) { spec.not_after = pki::Utc(2024, 1, 1); }));
  cases.push_back(
      CaCase("signer under a CA to come", [](auto& spec) { spec.not_before = pki::Utc(2025, 1, 1); }));
  cases.push_back(CaCase("signer under a CA signed with SHA1", [](auto& spec) { spec.digest = "SHA1"; }));
  Cert forged = Maker().ca;
  forged.key = pki::KeyNamed("stranger");
  add("with a forged CRL", Forged().Message(Maker().signer),
      der::Concat(Maker().Crls({.with_ca_crl = false}),
                  der::FromText(pki::PemBundle({pki::MakeCrl(forged, {})}, {}))));
  const pki::CrlSpec stale{.next_update = pki::Utc(2024, 5, 31)};
  add("with a stale CRL", Forged().Message(Maker().signer),
      der::Concat(Maker().Crls({.with_ca_crl = false}),
                  der::FromText(pki::PemBundle({pki::MakeCrl(Maker().ca, stale)}, {}))));
  const Cert a_self = pki::SelfSigned(pki::CaSpec("cycle-a"));
  const Cert b = pki::Issue(a_self, pki::CaSpec("cycle-b", {5}));
  const Cert a = pki::Issue(b, pki::CaSpec("cycle-a", {6}));
  add("in a cycle", Forged().Message(LeafOf(a)),
      WithMore({pki::MakeCrl(a, {}), pki::MakeCrl(b, {})}, {a, b}));
  return cases;
}

Cases MessageCases() {
  Cases cases;
  const auto raw = [&cases](const std::string& name, const std::vector<Bytes>& attributes,
                            const world::ForgedMessages::Change& change = {}) {
    cases.push_back(Make("message " + name, Forged().Raw(attributes, change)));
  };
  raw("piece by piece", {Forged().RightDigest()});
  raw("with two signers", {Forged().RightDigest()}, [](auto& message, auto& by) {
    message.signer_infos = {by.Encode(), by.Encode()};
  });
  raw("with dropped attributes", {Forged().RightDigest()},
      [](auto&, auto& by) { by.signed_attributes = {}; });
  raw("with changed attributes", {world::MessageDigest(Bytes(32))},
      [](auto&, auto& by) { by.signed_attributes = der::Implicit(0, der::Set(Forged().RightDigest())); });
  raw("without a digest", {pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData))});
  raw("with a digest of no bytes", {world::MessageDigest({})});
  raw("with a digest of 65 bytes", {world::MessageDigest(Bytes(65))});
  raw("with a digest of 31 bytes", {world::MessageDigest(Bytes(31))});
  raw("with a wrong digest", {world::MessageDigest(Bytes(32))});
  raw("with an unknown digest algorithm", {Forged().RightDigest()},
      [](auto&, auto& by) { by.digest_algorithm = der::Seq(der::Oid("1.2.3.4")); });
  raw("without its signer's certificate", {Forged().RightDigest()},
      [](auto& message, auto&) { message.certificates = {}; });
  raw("with a broken certificate", {Forged().RightDigest()},
      [](auto& message, auto&) { message.certificates = {der::Seq(der::Integer(1))}; });
  raw("with another signature value", {Forged().RightDigest()},
      [](auto&, auto& by) { by.signature = Bytes(256, 1); });
  pki::RawSignedData nobody;
  nobody.certificates = {Maker().signer.der};
  cases.push_back(Make("message of nobody", nobody.Encode()));
  cases.push_back(Make("message with three certificates",
                       Forged().Message(Maker().signer, Forged().GoodToken(), {Maker().ca, Maker().tsa})));
  cases.push_back(Make("message of 4 GiB", der::RawLength(0x30, der::LongLength(0xFFFFFFFF, 4), Bytes(100))));
  cases.push_back(Make("message of nothing", {}));
  cases.push_back(Make("message of 37 bytes", Bytes(37, 0x30)));
  cases.push_back(Make("message of garbage", Bytes(64, 'x')));
  const Bytes good = Forged().Message(Maker().signer);
  for (const char* label : {"CMS", "PKCS7", "PKCS #7", "CERTIFICATE"}) {
    const std::string pem = pki::Pem(label, good);
    cases.push_back(Make(std::string("message labelled ") + label, der::FromText(pem)));
    cases.push_back(Make(std::string("message without the end of ") + label,
                         der::FromText(pem.substr(0, pem.rfind("-----END")))));
    cases.push_back(Make(std::string("message with bad base64 in ") + label,
                         der::FromText(pem.substr(0, 60) + " ? " + pem.substr(60))));
    cases.push_back(
        Make(std::string("message with CR LF in ") + label, der::FromText(pki::Pem(label, good, "\r\n"))));
  }
  return cases;
}

}  // namespace checktest
