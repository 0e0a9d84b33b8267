#ifndef FWVET_TESTS_SUPPORT_TEST_CMS_H
#define FWVET_TESTS_SUPPORT_TEST_CMS_H

#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_pki.h"

// Detached CMS signatures and time-stamp tokens as OpenSSL encodes them.
namespace pki {

/// An RFC 3161 token.
struct TokenSpec {
  Cert tsa{};  // signs the token
  Time time = Utc(2024, 6, 1, 12);
  std::string imprint_hash = "SHA256";
  std::string digest = "SHA256";
  bool signed_attributes = true;
  std::vector<Cert> certs{};  // carried in the token
  Bytes tst_info{};           // encoded; empty: made from the fields above
};

/// The encoded TSTInfo that stamps `stamped`.
Bytes MakeTstInfo(const TokenSpec& spec, const Bytes& stamped);
/// The encoded token (a ContentInfo) that stamps `stamped`.
Bytes MakeToken(const TokenSpec& spec, const Bytes& stamped);

struct SignerSpec {
  Cert signer{};
  std::string digest = "SHA256";
  bool signed_attributes = true;
  std::optional<TokenSpec> token{};  // goes over the signature value into the unsigned attributes
  Bytes raw_token{};                 // when not empty, taken as the token as it is
};

struct CmsSpec {
  Bytes content{};             // what is signed; not carried in the message
  std::string content_file{};  // when not empty, the content is read from there
  std::vector<SignerSpec> signers{};
  std::vector<Cert> certs{};  // carried in the message
};

/// The encoded detached message.
Bytes MakeCms(const CmsSpec& spec);

}  // namespace pki

#endif
