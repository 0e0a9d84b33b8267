#ifndef FWVET_TESTS_SUPPORT_FORGED_MESSAGES_H
#define FWVET_TESTS_SUPPORT_FORGED_MESSAGES_H

#include <functional>
#include <utility>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/support/test_world.h"

namespace world {

/// Signatures of one content that are sound but for what a test bends in them.
class ForgedMessages {
 public:
  using Change = std::function<void(pki::RawSignedData&, pki::RawSignerInfo&)>;

  /// `world` must outlive this.
  ForgedMessages(const World& world, Bytes content) : world_(world), content_(std::move(content)) {}

  [[nodiscard]] const Bytes& content() const { return content_; }
  /// What the world's time stamper puts into its tokens.
  [[nodiscard]] pki::TokenSpec GoodToken() const;
  /// By `signer`, with a token like this over the signature value; carries the signer's certificate and
  /// `more`.
  [[nodiscard]] Bytes Message(const Cert& signer, const pki::TokenSpec& token,
                              const std::vector<Cert>& more = {}) const;
  [[nodiscard]] Bytes Message(const Cert& signer) const { return Message(signer, GoodToken()); }
  /// By the world's signer, with these octets for a token; empty: without one.
  [[nodiscard]] Bytes WithRawToken(const Bytes& token) const;
  /// Piece by piece: the signature is over these attributes, the token is good, and `change` sees it last.
  [[nodiscard]] Bytes Raw(const std::vector<Bytes>& attributes, const Change& change = {}) const;
  /// The attribute messageDigest that the content has.
  [[nodiscard]] Bytes RightDigest() const;

 private:
  const World& world_;
  Bytes content_;
};

/// The attribute messageDigest with this value.
Bytes MessageDigest(const Bytes& digest);

}  // namespace world

#endif
