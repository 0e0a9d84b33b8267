#include "tools/fwpack/lint/lint_message.h"

#include <algorithm>

namespace fwpack::lint {
namespace {

constexpr std::size_t kMaxCertificates = 2;
constexpr std::size_t kMaxSigners = 1;

// The blocks whose tail records the device follows.
std::vector<std::pair<const BlockView*, const char*>> BlocksOf(const PackageView& package) {
  std::vector<std::pair<const BlockView*, const char*>> blocks;
  const auto add = [&blocks](const std::optional<BlockView>& block, const char* name) {
    if (block && block->tail && block->tail->has_magic) blocks.emplace_back(&*block, name);
  };
  add(package.signature_block, "tail record of the signature");
  add(package.crl_block, "tail record of the CRLs");
  return blocks;
}

// Calls `look` for each signer of signature and token.
template <class Look>
void ForEachSigner(const Scene& scene, Look look) {
  for (const auto& [message, name] : scene.messages) {
    for (const SignerView& signer : message->signers) look(signer, std::string("signer in ") + name);
  }
}

bool IsPkcs1(const std::string& algorithm) {
  return algorithm == "rsaEncryption" || algorithm.ends_with("WithRSAEncryption");
}

struct FreeCrls {
  void operator()(STACK_OF(X509_CRL) * crls) const { sk_X509_CRL_pop_free(crls, X509_CRL_free); }
};

int CrlsIn(const MessageView& message) {
  if (message.cms == nullptr) return 0;
  const std::unique_ptr<STACK_OF(X509_CRL), FreeCrls> crls(CMS_get1_crls(message.cms.get()));
  return crls == nullptr ? 0 : sk_X509_CRL_num(crls.get());
}

}  // namespace

void EmptyContent(const Scene& scene, Report& report) {
  const PackageView& package = scene.input.package;
  if (package.signature && package.content_length == 0) report.Add("content");
}

void PayloadCrc(const Scene& scene, Report& report) {
  for (const auto& [block, name] : BlocksOf(scene.input.package)) {
    if (block->tail->payload_crc_is_good == false) report.Add(name);
  }
}

void Gap(const Scene& scene, Report& report) {
  for (const auto& [block, name] : BlocksOf(scene.input.package)) {
    const SEFS& record = block->tail->record;
    const std::uint64_t read = std::uint64_t{record.dwCodeLen} + sizeof record;
    if (record.dwTotalLen > read) report.Add(name, std::to_string(record.dwTotalLen - read) + " bytes");
  }
}

void MessageUndecodable(const Scene& scene, Report& report) {
  for (const auto& [message, name] : scene.messages) {
    if (message->device_code != LUMO_OK) report.Add(name, lumo_error_name(message->device_code));
  }
}

void TooManyCertificates(const Scene& scene, Report& report) {
  for (const auto& [message, name] : scene.messages) {
    if (message->certs.size() > kMaxCertificates)
      report.Add(name, Above(message->certs.size(), "certificates", kMaxCertificates));
  }
}

void TooManySigners(const Scene& scene, Report& report) {
  for (const auto& [message, name] : scene.messages) {
    if (message->signers.size() > kMaxSigners)
      report.Add(name, Above(message->signers.size(), "signers", kMaxSigners));
  }
}

void NoSigner(const Scene& scene, Report& report) {
  for (const auto& [message, name] : scene.messages) {
    if (message->cms != nullptr && message->signers.empty()) report.Add(name);
  }
}

void NoTimestamp(const Scene& scene, Report& report) {
  const PackageView& package = scene.input.package;
  if (package.signature && !package.signature->signers.empty() && !package.token)
    report.Add("signer in the signature");
}

void KeyIdentifier(const Scene& scene, Report& report) {
  ForEachSigner(scene, [&report](const SignerView& signer, const std::string& where) {
    if (signer.issuer.der.empty()) report.Add(where);
  });
}

void MessageDigest(const Scene& scene, Report& report) {
  ForEachSigner(scene, [&report](const SignerView& signer, const std::string& where) {
    if (!IsDeviceDigest(signer.digest_algorithm)) report.Add(where, signer.digest_algorithm);
  });
  const auto& token = scene.input.package.token;
  if (token && !token->stop && !IsDeviceDigest(token->imprint_algorithm))
    report.Add("imprint of the time-stamp", token->imprint_algorithm);
}

void SignatureAlgorithm(const Scene& scene, Report& report) {
  ForEachSigner(scene, [&report](const SignerView& signer, const std::string& where) {
    if (!IsPkcs1(signer.signature_algorithm)) report.Add(where, signer.signature_algorithm);
  });
}

void NoDigestAttribute(const Scene& scene, Report& report) {
  ForEachSigner(scene, [&report](const SignerView& signer, const std::string& where) {
    const auto& attributes = signer.signed_attributes;
    const bool has_digest = std::any_of(attributes.begin(), attributes.end(), [](const AttributeView& each) {
      return each.type == "messageDigest";
    });
    if (!attributes.empty() && !has_digest) report.Add(where);
  });
}

void CarriesContent(const Scene& scene, Report& report) {
  const auto& signature = scene.input.package.signature;
  if (signature && signature->cms != nullptr && !signature->is_detached) report.Add("the signature");
}

void CarriesCrls(const Scene& scene, Report& report) {
  for (const auto& [message, name] : scene.messages) {
    const int crls = CrlsIn(*message);
    if (crls > 0) report.Add(name, std::to_string(crls) + " CRLs");
  }
}

void MessageTrailingBytes(const Scene& scene, Report& report) {
  const PackageView& package = scene.input.package;
  if (!package.signature || package.signature->encoding != Encoding::kDer) return;
  const std::size_t length = package.signature->der.size();
  const std::size_t payload = package.signature_block->payload.size();
  if (package.signature->cms != nullptr && payload > length)
    report.Add("the signature", std::to_string(payload - length) + " bytes");
}

}  // namespace fwpack::lint
