#include "tools/fwpack/tsa/token_check.h"

#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>

#include <array>

#include "tools/fwpack/cms.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/tsa/shown_text.h"

namespace fwpack {
namespace {

using InfoPtr = OpenSslPtr<TS_TST_INFO, TS_TST_INFO_free>;
using ReplyPtr = OpenSslPtr<TS_RESP, TS_RESP_free>;
using StorePtr = OpenSslPtr<X509_STORE, X509_STORE_free>;
using TokenPtr = OpenSslPtr<PKCS7, PKCS7_free>;

// The stack does not own what it points at.
struct FreeStack {
  void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
};
using CertStackPtr = std::unique_ptr<STACK_OF(X509), FreeStack>;

constexpr std::array kStatusNames = {"granted", "granted with changes", "rejection",
                                     "waiting", "revocation warning",   "revocation notification"};
constexpr long kGrantedWithMods = 1;

struct FailureName {
  int bit;
  const char* name;
};
constexpr FailureName kFailureNames[] = {
    {0, "badAlg"},
    {2, "badRequest"},
    {5, "badDataFormat"},
    {14, "timeNotAvailable"},
    {15, "unacceptedPolicy"},
    {16, "unacceptedExtension"},
    {17, "addInfoNotAvailable"},
    {25, "systemFailure"},
};

std::string Octets(const ASN1_STRING* string) {
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(string)),
          static_cast<std::size_t>(ASN1_STRING_length(string))};
}

// Decodes all of `bytes`; null when they are anything else, or more.
template <class Pointer, class Decode>
Pointer DecodeWhole(const std::string& bytes, Decode decode) {
  const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
  const auto* end = in + bytes.size();
  Pointer object(decode(nullptr, &in, static_cast<long>(bytes.size())));
  ERR_clear_error();
  return in == end ? std::move(object) : nullptr;
}

std::string DescribeRefusal(TS_STATUS_INFO* status) {
  const long code = ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(status));
  std::string text = std::to_string(code);
  if (code >= 0 && static_cast<std::size_t>(code) < kStatusNames.size()) {
    text = kStatusNames.at(static_cast<std::size_t>(code));
  }
  if (const ASN1_BIT_STRING* failure = TS_STATUS_INFO_get0_failure_info(status)) {
    for (const FailureName& known : kFailureNames) {
      if (ASN1_BIT_STRING_get_bit(failure, known.bit) == 1) text.append(", ").append(known.name);
    }
  }
  const STACK_OF(ASN1_UTF8STRING)* lines = TS_STATUS_INFO_get0_text(status);
  for (int i = 0; i < sk_ASN1_UTF8STRING_num(lines) && i < 4; ++i) {
    text += ", '" + ShownText(Octets(sk_ASN1_UTF8STRING_value(lines, i))) + "'";
  }
  return text;
}

class TokenCheck {
 public:
  explicit TokenCheck(const WantedStamp& wanted) : wanted_(wanted) {}

  std::string Run(const std::string& reply) {
    Decode(reply);
    CheckInfo();
    CheckCertificates();
    CheckSigner();
    return ToDer(token_.get(), i2d_PKCS7, "encode a time-stamp");
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    ERR_clear_error();
    throw Error(wanted_.origin + ": " + what);
  }

  void Decode(const std::string& bytes) {
    if (const ReplyPtr reply = DecodeWhole<ReplyPtr>(bytes, d2i_TS_RESP)) {
      TS_STATUS_INFO* status = TS_RESP_get_status_info(reply.get());
      const long code = ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(status));
      if (code < 0 || code > kGrantedWithMods) {
        Fail("the time-stamp server refuses: " + DescribeRefusal(status));
      }
      if (PKCS7* token = TS_RESP_get_token(reply.get())) token_.reset(PKCS7_dup(token));
    } else if (wanted_.may_be_bare) {
      token_ = DecodeWhole<TokenPtr>(bytes, d2i_PKCS7);
    }
    if (token_ != nullptr && PKCS7_type_is_signed(token_.get())) {
      info_.reset(PKCS7_to_TS_TST_INFO(token_.get()));
    }
    if (info_ == nullptr) Fail("is no time-stamp reply (RFC 3161, DER)");
  }

  void CheckInfo() const {
    if (TS_TST_INFO_get_version(info_.get()) != 1) Fail("the time-stamp has another version than 1");
    TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info_.get());
    const EVP_MD* digest = EVP_get_digestbyobj(TS_MSG_IMPRINT_get_algo(imprint)->algorithm);
    const int kind = digest == nullptr ? NID_undef : EVP_MD_get_type(digest);
    if (kind != NID_sha256 && kind != NID_sha384 && kind != NID_sha512) {
      Fail(
          "the time-stamp's digest is none of sha256, sha384 and sha512; the device knows no other; sign "
          "with one of them");
    }
    if (wanted_.digest != nullptr && kind != EVP_MD_get_type(wanted_.digest)) {
      Fail("the time-stamp's digest is not the one that was asked for; ask another server");
    }
    unsigned char hash[EVP_MAX_MD_SIZE] = {};
    unsigned int length = 0;
    RequireOpenSsl(
        EVP_Digest(wanted_.stamped.data(), wanted_.stamped.size(), hash, &length, digest, nullptr) == 1,
        "hash");
    if (Octets(TS_MSG_IMPRINT_get_msg(imprint)) != std::string(reinterpret_cast<const char*>(hash), length)) {
      Fail(
          "the time-stamp covers something else than this signature (wrong imprint); get one over the very "
          "signature value");
    }
    CheckNonce();
  }

  void CheckNonce() const {
    if (wanted_.nonce == nullptr) return;
    const ASN1_INTEGER* nonce = TS_TST_INFO_get_nonce(info_.get());
    if (nonce == nullptr || ASN1_INTEGER_cmp(nonce, wanted_.nonce) != 0) {
      Fail(
          "the time-stamp answers another request (wrong nonce); ask again, and another server if that does "
          "not help");
    }
  }

  void CheckCertificates() const {
    const int count = sk_X509_num(token_->d.sign->cert);
    if (count > static_cast<int>(kMaxMessageCerts)) {
      Fail("the time-stamp carries " + std::to_string(count) + " certificates where the device decodes " +
           std::to_string(kMaxMessageCerts) +
           "; have the server send its own and its issuer's alone, the others belong into the bundle");
    }
    if (sk_PKCS7_SIGNER_INFO_num(token_->d.sign->signer_info) != 1) {
      Fail("the time-stamp has not exactly one signer");
    }
  }

  [[nodiscard]] CertStackPtr Known() const {
    CertStackPtr stack(sk_X509_new_null());
    RequireOpenSsl(stack != nullptr, "check a time-stamp");
    for (X509* cert : wanted_.known)
      RequireOpenSsl(sk_X509_push(stack.get(), cert) > 0, "check a time-stamp");
    return stack;
  }

  // All certificates at hand count as trusted here: the device judges the chain, now only the signature and
  // what is said about its signer must hold together.
  [[nodiscard]] StorePtr Trusted() const {
    StorePtr store(X509_STORE_new());
    RequireOpenSsl(store != nullptr && X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN |
                                                                             X509_V_FLAG_NO_CHECK_TIME) == 1,
                   "check a time-stamp");
    for (X509* cert : wanted_.known)
      RequireOpenSsl(X509_STORE_add_cert(store.get(), cert) == 1, "check a time-stamp");
    for (int i = 0; i < sk_X509_num(token_->d.sign->cert); ++i) {
      RequireOpenSsl(X509_STORE_add_cert(store.get(), sk_X509_value(token_->d.sign->cert, i)) == 1,
                     "check a time-stamp");
    }
    return store;
  }

  void CheckSigner() const {
    const CertStackPtr known = Known();
    const CertStackPtr signers(PKCS7_get0_signers(token_.get(), known.get(), 0));
    if (signers == nullptr || sk_X509_num(signers.get()) != 1) {
      Fail(
          "neither the time-stamp nor the bundle has the certificate of its signer; ask for one that carries "
          "it (certReq)");
    }
    X509* signer = sk_X509_value(signers.get(), 0);
    if (X509_check_purpose(signer, X509_PURPOSE_TIMESTAMP_SIGN, 0) != 1) {
      Fail("the time-stamp's signer '" + SubjectText(signer) +
           "' has no certificate for time-stamping (the critical purpose timeStamping alone)");
    }
    const StorePtr trusted = Trusted();
    if (TS_RESP_verify_signature(token_.get(), known.get(), trusted.get(), nullptr) != 1) {
      Fail("the time-stamp's signature by '" + SubjectText(signer) +
           "' does not verify: " + TakeOpenSslReasons());
    }
  }

  const WantedStamp& wanted_;
  TokenPtr token_{};
  InfoPtr info_{};
};

}  // namespace

std::string CheckedToken(const std::string& reply, const WantedStamp& wanted) {
  return TokenCheck(wanted).Run(reply);
}

}  // namespace fwpack
