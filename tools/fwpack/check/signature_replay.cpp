#include "tools/fwpack/check/signature_replay.h"

#include <string>

#include "tools/fwpack/check/chain_walk.h"
#include "tools/fwpack/check/replay_names.h"
#include "tools/fwpack/check/steps.h"
#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_asn1_def.h"
#include "verify/cms_signer.h"
#include "verify/cms_timestamp.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_ctx.h"
#include "verify/lumo_limits.h"
#include "verify/lumo_load.h"
#include "verify/lumo_pem.h"
#include "verify/lumo_pki_store.h"

namespace fwpack {
namespace {

constexpr char kSignature[] = "signature";
constexpr char kStamp[] = "time-stamp";

// A part of a message that has a certificate to be found and judged.
struct Role {
  const char* find_step;
  const char* judge_step;
  LUMO_ERROR_CODE not_found;
  LUMO_ASN_INT purpose;
};
constexpr Role kSigner{steps::kFindSigner, steps::kJudgeSigner, LUMO_ERR_SIGNER_NOT_FOUND,
                       LUMO_EXKU_CODE_SIGNING};
constexpr Role kStamper{steps::kFindStamper, steps::kJudgeStamper, LUMO_ERR_TSA_NOT_FOUND,
                        LUMO_EXKU_TIME_STAMPING};

std::string WantedText(const LUMO_PKCS7_SIGNER_INFO& si) {
  return "certificate with serial " + SerialText(si.issuer_sn.sn) + ", issued by '" +
         NameText(si.issuer_sn.issuer) + "'";
}

// Finds the signer's certificate and judges it; `*ppCert` is the one found.
std::optional<Culprit> JudgeRole(LUMO_VRF* vrf, const LUMO_PKCS7_SIGNER_INFO& si, const Role& role,
                                 LUMO_X509_CERT** ppCert) {
  LUMO_X509_CERT* cert = lumo_pki_find_cert_by_issuer_sn(vrf, &si.issuer_sn.issuer, &si.issuer_sn.sn);
  *ppCert = cert;
  if (cert == nullptr) {
    return Culprit{.step = role.find_step,
                   .where = WantedText(si),
                   .code = role.not_found,
                   .detail = "it is neither in the message nor among the CRLs, or it is self-signed"};
  }
  const LUMO_ERROR_CODE rc = _tevVerifyIssuerCert(vrf, cert, role.purpose);
  if (rc == LUMO_OK) return std::nullopt;
  const ChainFault fault = FindChainFault(vrf, cert, role.purpose, rc);
  return Culprit{.step = role.judge_step, .where = fault.where, .code = rc, .detail = fault.detail};
}

// Finds the certificate that kept a list of certificates from being stored.
std::string UnstorableText(const LUMO_VRF* vrf, const LIST_TYPE_LUMO_X509_CERT& certs, LUMO_ERROR_CODE rc) {
  for (TEV_UINT32 i = 0; rc != LUMO_ERR_LIST_FULL && i < certs.num(); ++i) {
    TEV_BOOL self_signed = 0;
    if (lumo_x509_is_self_signed(vrf, certs.at(i), &self_signed) == rc) return CertText(*certs.at(i));
  }
  return {};
}

std::optional<Culprit> Store(LUMO_VRF* vrf, const LIST_TYPE_LUMO_X509_CERT& certs, const char* step) {
  const LUMO_ERROR_CODE rc = _tevAddCertToStore(vrf, &certs, 0);
  if (rc == LUMO_OK) return std::nullopt;
  const bool is_full = rc == LUMO_ERR_LIST_FULL;
  return Culprit{.step = step,
                 .where = UnstorableText(vrf, certs, rc),
                 .code = rc,
                 .detail = is_full ? "root, CRL blocks and signature hold more than 16 certificates" : ""};
}

using OwnedOcts = CtxOwned<LUMO_ASN_OCTS, lumo_free>;
using OwnedTstInfo = CtxOwned<LUMO_TST_INFO, lumo_free>;

// The time-stamp's own statement: what was stamped, and when.
std::optional<Culprit> ReadStatement(const LUMO_VRF* vrf, const LUMO_PKCS7_SIGNED_DATA& token) {
  const LUMO_ASN_OCTS& content = token.content.content;
  const auto fault = [](LUMO_ERROR_CODE rc, const char* detail) {
    return Culprit{.step = steps::kReadStamp, .where = kStamp, .code = rc, .detail = detail};
  };
  OwnedOcts octets(vrf);
  OwnedTstInfo info(vrf);
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_decode_as(vrf, content.octs, content.len, LUMO_ASN_OCTS_item, octets.out(), &consumed);
      rc != LUMO_OK) {
    return fault(rc, "it carries no TSTInfo");
  }
  if (auto rc = lumo_decode_as(vrf, octets->octs, octets->len, LUMO_TST_INFO_item, info.out(), &consumed);
      rc != LUMO_OK) {
    return fault(rc, "its TSTInfo cannot be decoded");
  }
  TEV_TIME_T time = 0;
  if (auto rc = lumo_convert_datetime_to_time(&info->time, &time); rc != LUMO_OK) {
    return fault(rc, "its time is neither a UTCTime of 13 nor a GeneralizedTime of 15 characters");
  }
  return std::nullopt;
}

// Why the device's check of a time-stamp ended in `rc`: its steps once more, one by one. Imprint and number
// of signers come first, as on the device, but they have codes of their own.
Culprit ExplainStamp(LUMO_VRF* vrf, const LUMO_PKCS7_SIGNER_INFO& si, LUMO_ERROR_CODE rc) {
  const LUMO_ASN_OCTS& encoded = si.unauth_attrs.timestamp;
  Culprit culprit{.step = steps::kReadStamp, .where = kStamp, .code = rc};
  OwnedMessage token(vrf);
  TEV_UINT32 consumed = 0;
  if (lumo_pkcs7_decode_signed(vrf, encoded.octs, encoded.len, token.out(), &consumed) != LUMO_OK) {
    culprit.detail = encoded.octs == nullptr ? "the signature carries none" : "it cannot be decoded";
    return culprit;
  }
  const LUMO_PKCS7_SIGNED_DATA& data = token->signed_data;
  if (rc == LUMO_ERR_TST_HASH_ALGO || rc == LUMO_ERR_TST_IMPRINT) {
    culprit.step = steps::kCompareImprint;
    return culprit;
  }
  if (data.signer_infos.infos.num == 0) {
    culprit.detail = "nobody signed it";
    return culprit;
  }
  if (auto fault = ReadStatement(vrf, data); fault) return *fault;
  if (auto fault = Store(vrf, data.certificates, steps::kKeepStampCertificates); fault) return *fault;
  LUMO_X509_CERT* cert = nullptr;
  if (auto fault = JudgeRole(vrf, data.signer_infos.infos.data[0], kStamper, &cert); fault) return *fault;
  culprit.step = steps::kVerifyStamp;
  culprit.where = CertText(*cert);
  return culprit;
}

LUMO_ERROR_CODE CheckSigned(const LUMO_VRF* vrf, const LUMO_PKCS7_SIGNER_INFO& si,
                            const LUMO_X509_CERT& cert) {
  OwnedMdInfo info(vrf);
  if (!lumo_has_signed_attrs(si)) return _tevCreateVerifyHandle(vrf, si, cert, info);
  if (auto rc = lumo_require_attrs_signature(vrf, si, cert); rc != LUMO_OK) return rc;
  return _tevGetDigestFromSignerInfo(vrf, si, info);
}

std::optional<Culprit> ReplaySigner(LUMO_VRF* vrf, const LUMO_PKCS7_SIGNER_INFO& si) {
  if (auto rc = lumo_check_timestamp(vrf, si); rc != LUMO_OK) return ExplainStamp(vrf, si, rc);
  LUMO_X509_CERT* cert = nullptr;
  if (auto fault = JudgeRole(vrf, si, kSigner, &cert); fault) return fault;
  if (auto rc = CheckSigned(vrf, si, *cert); rc != LUMO_OK) {
    return Culprit{.step = steps::kVerifySignature, .where = CertText(*cert), .code = rc};
  }
  return std::nullopt;
}

// The DER form of a PEM signature that the device has read; kept in the context as the device keeps it.
LUMO_ERROR_CODE DecodePem(LUMO_VRF* vrf, std::string_view pem, OwnedMessage& message) {
  const std::size_t body = pem.find('-', kPemBeginLength);
  const std::size_t start = body == std::string_view::npos ? body : pem.find_first_not_of('-', body);
  const std::size_t end = start == std::string_view::npos ? start : pem.find("-----END", start);
  if (end == std::string_view::npos) return LUMO_ERR_FORMAT;
  OwnedBytes der(vrf);
  TEV_UINT32 size = 0;
  if (auto rc =
          lumo_decode_base64_text(vrf, pem.data() + start, static_cast<TEV_UINT32>(end - start), der, &size);
      rc != LUMO_OK) {
    return rc;
  }
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_pkcs7_decode_signed(vrf, der.get(), size, message.out(), &consumed); rc != LUMO_OK)
    return rc;
  const LUMO_ERROR_CODE rc = lumo_keep_raw(vrf, der);
  if (rc != LUMO_OK) message.reset();
  return rc;
}

LUMO_ERROR_CODE Decode(LUMO_VRF* vrf, std::string_view signature, OwnedMessage& message) {
  const auto* octets = reinterpret_cast<const TEV_BYTE*>(signature.data());
  if (lumo_is_pem(vrf, octets)) return DecodePem(vrf, signature, message);
  TEV_UINT32 consumed = 0;
  return lumo_pkcs7_decode_signed(vrf, octets, static_cast<TEV_UINT32>(signature.size()), message.out(),
                                  &consumed);
}

std::string UnreadableDetail(LUMO_ERROR_CODE rc) {
  if (rc == LUMO_ERR_LIST_FULL)
    return "root, CRL blocks and PEM signature have more than 16 PEM blocks in all";
  if (rc == LUMO_ERR_PKCS7_DECODE)
    return "so the device also calls more than 2 certificates and more than 1 signer";
  return {};
}

Culprit Unreadable(LUMO_ERROR_CODE rc) {
  return {.step = steps::kReadSignature, .where = kSignature, .code = rc, .detail = UnreadableDetail(rc)};
}

}  // namespace

std::optional<Culprit> ReplaySignature(LUMO_VRF* vrf, std::string_view signature) {
  if (signature.empty()) return Unreadable(LUMO_ERR_PARAM);
  if (signature.size() < kMinInputLength) return Unreadable(LUMO_ERR_FORMAT);
  OwnedMessage message(vrf);
  if (auto rc = Decode(vrf, signature, message); rc != LUMO_OK) return Unreadable(rc);
  const LUMO_PKCS7_SIGNED_DATA& data = message->signed_data;
  if (auto fault = Store(vrf, data.certificates, steps::kKeepCertificates); fault) return fault;
  const SET_TYPE_LUMO_PKCS7_SIGNER_INFO& signers = data.signer_infos.infos;
  if (signers.num == 0) return std::nullopt;
  return ReplaySigner(vrf, signers.data[0]);
}

}  // namespace fwpack
