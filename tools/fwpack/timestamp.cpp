#include "tools/fwpack/timestamp.h"

#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"

namespace fwpack {
namespace {

using RequestPtr = OpenSslPtr<TS_REQ, TS_REQ_free>;
using ResponsePtr = OpenSslPtr<TS_RESP, TS_RESP_free>;
using ResponderPtr = OpenSslPtr<TS_RESP_CTX, TS_RESP_CTX_free>;
using ImprintPtr = OpenSslPtr<TS_MSG_IMPRINT, TS_MSG_IMPRINT_free>;
using AlgorithmPtr = OpenSslPtr<X509_ALGOR, X509_ALGOR_free>;

// The stack does not own what it points at.
struct FreeStack {
  void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
};
using CertStackPtr = std::unique_ptr<STACK_OF(X509), FreeStack>;

// Tokens must name a policy; the arc for examples says that this one means nothing.
constexpr char kPolicy[] = "2.999.1";
constexpr long kGranted = 0;
constexpr long kGrantedWithMods = 1;

std::string Hash(const EVP_MD* digest, const std::string& bytes) {
  unsigned char hash[EVP_MAX_MD_SIZE] = {};
  unsigned int length = 0;
  RequireOpenSsl(EVP_Digest(bytes.data(), bytes.size(), hash, &length, digest, nullptr) == 1, "hash");
  return {reinterpret_cast<const char*>(hash), length};
}

ImprintPtr MakeImprint(const EVP_MD* digest, const std::string& stamped) {
  std::string hash = Hash(digest, stamped);
  const AlgorithmPtr algorithm(X509_ALGOR_new());
  ImprintPtr imprint(TS_MSG_IMPRINT_new());
  RequireOpenSsl(algorithm != nullptr && imprint != nullptr, "make a time-stamp request");
  X509_ALGOR_set_md(algorithm.get(), digest);
  RequireOpenSsl(TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) == 1 &&
                     TS_MSG_IMPRINT_set_msg(imprint.get(), reinterpret_cast<unsigned char*>(hash.data()),
                                            static_cast<int>(hash.size())) == 1,
                 "make a time-stamp request");
  return imprint;
}

// What makes one time-stamp another than the next.
struct Stamp {
  UtcTime time = 0;
  std::string serial{};  // octets
};

// The serial number follows from what is stamped and when, so that the same package can be made again. The
// leading octet keeps it positive and of one length.
Stamp MakeStamp(const std::string& request, UtcTime time) {
  constexpr std::size_t kSerialOctets = 8;
  const std::string hash = Hash(EVP_sha256(), request + std::to_string(time));
  return {.time = time, .serial = "\x01" + hash.substr(0, kSerialOctets - 1)};
}

int GiveTime(TS_RESP_CTX* /*responder*/, void* data, long* seconds, long* microseconds) {
  *seconds = static_cast<long>(static_cast<const Stamp*>(data)->time);
  *microseconds = 0;
  return 1;
}

ASN1_INTEGER* GiveSerial(TS_RESP_CTX* /*responder*/, void* data) {
  const std::string& octets = static_cast<const Stamp*>(data)->serial;
  const BignumPtr number(BN_bin2bn(reinterpret_cast<const unsigned char*>(octets.data()),
                                   static_cast<int>(octets.size()), nullptr));
  return number == nullptr ? nullptr : BN_to_ASN1_INTEGER(number.get(), nullptr);
}

void SetCertificates(TS_RESP_CTX* responder, const TimeStamper& stamper) {
  const CertStackPtr chain(sk_X509_new_null());
  RequireOpenSsl(chain != nullptr, "prepare a time-stamp");
  for (X509* cert : stamper.chain)
    RequireOpenSsl(sk_X509_push(chain.get(), cert) > 0, "prepare a time-stamp");
  RequireOpenSsl(TS_RESP_CTX_set_signer_cert(responder, stamper.cert) == 1,
                 "use the certificate '" + SubjectText(stamper.cert) + "' for time-stamps");
  RequireOpenSsl(TS_RESP_CTX_set_certs(responder, chain.get()) == 1, "prepare a time-stamp");
}

ResponderPtr MakeResponder(const TimeStamper& stamper, Stamp* stamp) {
  const ObjectPtr policy(OBJ_txt2obj(kPolicy, 1));
  ResponderPtr responder(TS_RESP_CTX_new());
  RequireOpenSsl(policy != nullptr && responder != nullptr, "prepare a time-stamp");
  SetCertificates(responder.get(), stamper);
  RequireOpenSsl(TS_RESP_CTX_set_signer_key(responder.get(), stamper.key) == 1 &&
                     TS_RESP_CTX_set_def_policy(responder.get(), policy.get()) == 1 &&
                     TS_RESP_CTX_add_md(responder.get(), stamper.digest) == 1 &&
                     TS_RESP_CTX_set_signer_digest(responder.get(), stamper.digest) == 1 &&
                     TS_RESP_CTX_set_ess_cert_id_digest(responder.get(), EVP_sha256()) == 1,
                 "prepare a time-stamp");
  TS_RESP_CTX_set_serial_cb(responder.get(), GiveSerial, stamp);
  TS_RESP_CTX_set_time_cb(responder.get(), GiveTime, stamp);
  return responder;
}

void RequireGranted(TS_RESP* response) {
  TS_STATUS_INFO* status = TS_RESP_get_status_info(response);
  const long code = ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(status));
  if (code != kGranted && code != kGrantedWithMods) {
    throw Error("the time-stamp was not granted (status " + std::to_string(code) +
                "): " + TakeOpenSslReasons());
  }
}

// The library dates every signature that it makes with the present, which may contradict the stamp.
void DateSignature(PKCS7* token, UtcTime time) {
  PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(token), 0);
  TimePtr moment(ASN1_TIME_set(nullptr, static_cast<time_t>(time)));
  RequireOpenSsl(moment != nullptr, "date a time-stamp");
  const int type = ASN1_STRING_type(moment.get());
  RequireOpenSsl(PKCS7_add_signed_attribute(signer, NID_pkcs9_signingTime, type, moment.get()) == 1,
                 "date a time-stamp");
  (void)moment.release();
  RequireOpenSsl(PKCS7_SIGNER_INFO_sign(signer) == 1, "sign a time-stamp");
}

}  // namespace

std::string MakeTimeStampRequest(const EVP_MD* digest, const std::string& stamped,
                                 const ASN1_INTEGER* nonce) {
  const ImprintPtr imprint = MakeImprint(digest, stamped);
  const RequestPtr request(TS_REQ_new());
  RequireOpenSsl(request != nullptr && TS_REQ_set_version(request.get(), 1) == 1 &&
                     TS_REQ_set_msg_imprint(request.get(), imprint.get()) == 1 &&
                     (nonce == nullptr || TS_REQ_set_nonce(request.get(), nonce) == 1) &&
                     TS_REQ_set_cert_req(request.get(), 1) == 1,
                 "make a time-stamp request");
  return ToDer(request.get(), i2d_TS_REQ, "encode a time-stamp request");
}

std::string MakeTimeStampToken(const TimeStamper& stamper, const std::string& stamped, UtcTime time) {
  const std::string request_der = MakeTimeStampRequest(stamper.digest, stamped, nullptr);
  const BioPtr request = ReadFrom(request_der);
  Stamp stamp = MakeStamp(request_der, time);
  const ResponderPtr responder = MakeResponder(stamper, &stamp);
  const ResponsePtr response(TS_RESP_create_response(responder.get(), request.get()));
  RequireOpenSsl(response != nullptr, "make a time-stamp");
  RequireGranted(response.get());
  DateSignature(TS_RESP_get_token(response.get()), time);
  return ToDer(TS_RESP_get_token(response.get()), i2d_PKCS7, "encode a time-stamp");
}

}  // namespace fwpack
