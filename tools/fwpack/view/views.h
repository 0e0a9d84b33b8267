#ifndef FWVET_TOOLS_FWPACK_VIEW_VIEWS_H
#define FWVET_TOOLS_FWPACK_VIEW_VIEWS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/EfsLoader.h"
#include "tools/fwpack/openssl_ptr.h"
#include "tools/fwpack/utc_time.h"
#include "verify/lumo.h"

// What was read from a package or a part of one: plain records, filled as far as the input goes. Broken input
// is no error here; what could not be read is absent, and a Stop tells where reading ended and why.
//
// Where a record says "device", the device's own decoder was asked.
namespace fwpack {

/// Where reading ended and why. The offset counts from the start of the file that was looked at; inside a PEM
/// block it is that of the block.
struct Stop {
  std::uint64_t offset = 0;
  std::string reason{};
};

struct TimeView {
  std::string encoded{};            // the characters, those that cannot be shown as \xNN
  bool generalized = false;         // GeneralizedTime, else UTCTime
  std::optional<UtcTime> meant{};   // what X.680 says that they mean
  std::optional<UtcTime> device{};  // what the device takes them for; none: it cannot convert them
};

struct NameView {
  std::string der{};                         // the whole Name
  std::string text{};                        // one line for people
  std::optional<std::string> device_text{};  // as the device's comparison of bundles knows it; none: no text
  std::size_t rdns = 0;
};

struct SerialView {
  std::string octets{};  // content octets of the INTEGER, as encoded
  std::string hex{};     // the same in lower-case hexadecimal
};

struct CertView {
  std::uint64_t offset = 0;
  std::string der{};
  LUMO_ERROR_CODE device_code = LUMO_OK;  // what the device's decoder answers
  CertPtr x509{};  // null when the certificate cannot be decoded here; then all below is empty
  NameView subject{};
  NameView issuer{};
  SerialView serial{};
  int version = 0;  // as people count: 1 to 3
  TimeView not_before{};
  TimeView not_after{};
  std::string signature_algorithm{};  // "sha256WithRSAEncryption", or dotted
  std::string key_algorithm{};        // "rsaEncryption", or dotted
  std::size_t key_bits = 0;           // 0 when the key is no RSA key
  std::size_t modulus_bytes = 0;      // length of the modulus without leading zeros
  bool is_ca = false;
  std::vector<std::string> key_usages{};           // names of RFC 5280; empty when the extension is absent
  std::vector<std::string> extended_key_usages{};  // in their order: "timeStamping", "codeSigning", or dotted
  bool is_self_issued = false;
};

struct RevokedView {
  SerialView serial{};
  TimeView date{};
  std::optional<int> reason{};  // CRLReason
};

struct CrlView {
  std::uint64_t offset = 0;
  std::string der{};
  LUMO_ERROR_CODE device_code = LUMO_OK;
  CrlPtr x509{};  // null when the CRL cannot be decoded here; then all below is empty
  NameView issuer{};
  TimeView this_update{};
  std::optional<TimeView> next_update{};
  std::string signature_algorithm{};
  std::optional<std::string> number_hex{};
  std::vector<RevokedView> revoked{};
};

enum class Encoding { kDer, kPem };

/// The objects of a bundle in their order, and what else its text holds.
struct BundleView {
  Encoding encoding = Encoding::kPem;
  std::string bytes{};         // the payload as it is
  std::size_t pem_blocks = 0;  // of any label
  std::vector<CrlView> crls{};
  std::vector<CertView> certs{};
  std::vector<Stop> stops{};  // one for each block that could not be decoded, or for the rest of DER input
};

struct AttributeView {
  std::string type{};  // short name, or dotted
  std::string der{};   // the values, a SET
};

struct SignerView {
  NameView issuer{};
  SerialView serial{};
  std::string digest_algorithm{};
  std::string signature_algorithm{};
  std::vector<AttributeView> signed_attributes{};
  std::vector<AttributeView> unsigned_attributes{};
  std::optional<std::string> message_digest{};  // octets
  std::optional<TimeView> signing_time{};
  std::string signature{};
};

/// A CMS SignedData: a signature or a time-stamp token.
struct MessageView {
  std::uint64_t offset = 0;
  Encoding encoding = Encoding::kDer;
  std::string der{};
  LUMO_ERROR_CODE device_code = LUMO_OK;
  CmsPtr cms{};  // null when the message cannot be decoded here; then all below but `certs` is empty
  std::string content_type{};
  bool is_detached = true;
  std::vector<CertView> certs{};
  std::vector<SignerView> signers{};
  std::optional<Stop> stop{};
};

/// The time-stamp in a signature.
struct TokenView {
  MessageView message{};
  std::string policy{};
  SerialView serial{};
  std::string imprint_algorithm{};
  std::string imprint{};  // octets
  TimeView time{};
  std::optional<std::string> nonce_hex{};
  std::optional<Stop> stop{};  // the TSTInfo could not be read
};

struct TailView {
  std::uint64_t offset = 0;
  SEFS record{};  // in host order
  bool has_magic = false;
  bool crc_is_good = false;
  std::optional<bool> payload_crc_is_good{};  // none when the payload is not there
};

/// One block at the end of a package.
struct BlockView {
  std::uint64_t offset = 0;  // of the payload
  std::string payload{};
  std::optional<TailView> tail{};
  std::optional<Stop> stop{};
};

struct PackageView {
  std::string path{};
  std::uint64_t size = 0;
  std::uint64_t content_length = 0;
  std::optional<BlockView> signature_block{};
  std::optional<BlockView> crl_block{};
  std::optional<MessageView> signature{};
  std::optional<TokenView> token{};
  std::optional<BundleView> bundle{};
  std::vector<Stop> stops{};
};

}  // namespace fwpack

#endif
