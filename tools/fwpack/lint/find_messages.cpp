#include <algorithm>
#include <array>
#include <string_view>

#include "tools/fwpack/lint/finders.h"
#include "tools/fwpack/lint/objects.h"

namespace fwpack {
namespace {

constexpr std::size_t kMaxCerts = 2;
constexpr std::size_t kMaxSigners = 1;
constexpr std::array<std::string_view, 6> kDigests = {"sha256",
                                                      "sha384",
                                                      "sha512",
                                                      "sha256WithRSAEncryption",
                                                      "sha384WithRSAEncryption",
                                                      "sha512WithRSAEncryption"};

bool IsKnown(const std::string& digest) {
  return std::find(kDigests.begin(), kDigests.end(), digest) != kDigests.end();
}

void AddTail(const std::optional<BlockView>& block, const char* where, Places& places) {
  if (block && block->tail && block->tail->payload_crc_is_good == false) {
    places.push_back({.where = where, .detail = {}});
  }
}

}  // namespace

Places FindEmptyContent(const LintInput& input) {
  if (!input.package.signature_block || input.package.content_length != 0) return {};
  return {{.where = "content", .detail = {}}};
}

Places FindWrongPayloadCrcs(const LintInput& input) {
  Places places;
  AddTail(input.package.signature_block, "signature block", places);
  AddTail(input.package.crl_block, "CRL block", places);
  return places;
}

Places FindTooManyMessageCerts(const LintInput& input) {
  Places places;
  for (const LintMessage& message : Messages(input)) {
    const std::size_t certs = message.message->certs.size();
    if (certs > kMaxCerts) {
      places.push_back(
          {.where = message.where, .detail = "holds " + Count(certs, "certificate", "certificates")});
    }
  }
  return places;
}

Places FindTooManySigners(const LintInput& input) {
  Places places;
  for (const LintMessage& message : Messages(input)) {
    const std::size_t signers = message.message->signers.size();
    if (signers > kMaxSigners) {
      places.push_back({.where = message.where, .detail = "has " + Count(signers, "signer", "signers")});
    }
  }
  return places;
}

Places FindUnsupportedMessageDigests(const LintInput& input) {
  Places places;
  for (const LintMessage& message : Messages(input)) {
    for (const SignerView& signer : message.message->signers) {
      if (!IsKnown(signer.digest_algorithm))
        places.push_back({message.where, "digest " + signer.digest_algorithm});
    }
  }
  const std::optional<TokenView>& token = input.package.token;
  if (token && !token->imprint_algorithm.empty() && !IsKnown(token->imprint_algorithm)) {
    places.push_back({.where = "time-stamp", .detail = "imprint " + token->imprint_algorithm});
  }
  return places;
}

}  // namespace fwpack
