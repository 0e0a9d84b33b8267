#include "tools/fwpack/check/chain_walk.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "tools/fwpack/check/replay_names.h"
#include "verify/asn1/lumo_asn1_def.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_pki.h"
#include "verify/lumo_revocation.h"

namespace fwpack {
namespace {

struct Walk {
  LUMO_VRF* vrf;
  TEV_BOOL is_stamp;
  LUMO_ERROR_CODE code;
  std::vector<LUMO_X509_CERT*> seen{};
};

bool SameName(const Walk& walk, const LUMO_X509_NAME& left, const LUMO_X509_NAME& right) {
  return lumo_compare_x509_name(walk.vrf, &left, &right) == LUMO_OK;
}

bool IsSelfSigned(const Walk& walk, LUMO_X509_CERT* cert) {
  TEV_BOOL self_signed = 0;
  return lumo_x509_is_self_signed(walk.vrf, cert, &self_signed) == LUMO_OK && self_signed != 0;
}

bool Fails(const Walk& walk, LUMO_X509_CERT* cert) {
  TEV_BOOL valid = 0;
  return lumo_pki_verify_cert(walk.vrf, cert, 1, walk.is_stamp, &valid) == walk.code;
}

// From `cert` up to the root, or to where the chain breaks off or meets itself.
std::vector<LUMO_X509_CERT*> ChainOf(const Walk& walk, LUMO_X509_CERT* cert) {
  std::vector<LUMO_X509_CERT*> chain;
  while (cert != nullptr && std::find(chain.begin(), chain.end(), cert) == chain.end()) {
    chain.push_back(cert);
    if (IsSelfSigned(walk, cert)) break;
    cert = _tevFindCertIssuer(walk.vrf, cert);
  }
  return chain;
}

// The issuer of a CRL that speaks about `cert`, when it is what fails and was not looked at yet.
LUMO_X509_CERT* FailingCrlIssuer(const Walk& walk, LUMO_X509_CERT* cert) {
  const LUMO_X509_CERT* root = _tevFindCertRoot(walk.vrf, cert);
  if (root == nullptr) return nullptr;
  ScoredCrls candidates(walk.vrf);
  if (_tevGetScoredCrl(walk.vrf, cert, root, &candidates) != LUMO_OK) return nullptr;
  for (TEV_UINT32 i = 0; i < candidates.list.num(); ++i) {
    LUMO_X509_CERT* issuer = lumo_pki_find_crl_issuer(walk.vrf, candidates.list.at(i)->pCrl);
    const bool is_new = std::find(walk.seen.begin(), walk.seen.end(), issuer) == walk.seen.end();
    if (issuer != nullptr && is_new && Fails(walk, issuer)) return issuer;
  }
  return nullptr;
}

LUMO_X509_CERT* FindFailing(Walk& walk, LUMO_X509_CERT* leaf) {
  LUMO_X509_CERT* failing = leaf;
  while (leaf != nullptr) {
    const std::vector<LUMO_X509_CERT*> chain = ChainOf(walk, leaf);
    walk.seen.insert(walk.seen.end(), chain.begin(), chain.end());
    const auto first = std::find_if(chain.rbegin(), chain.rend(),
                                    [&walk](LUMO_X509_CERT* cert) { return Fails(walk, cert); });
    if (first == chain.rend()) break;
    failing = *first;
    leaf = FailingCrlIssuer(walk, failing);
  }
  return failing;
}

std::string ValidityDetail(const Walk& walk, const LUMO_X509_CERT& cert) {
  const LUMO_X509_VALIDITY& validity = cert.toBeSigned.validity;
  return "valid from " + DeviceTimeText(validity.notBefore) + " to " + DeviceTimeText(validity.notAfter) +
         ", judged at " + SecondsText(walk.vrf->base_time);
}

template <class Object>
std::vector<Object*> StoredThat(const LumoListOf<Object>& list,
                                const std::function<bool(const Object&)>& fits) {
  std::vector<Object*> found;
  for (TEV_UINT32 i = 0; i < list.num(); ++i) {
    if (fits(*list.at(i))) found.push_back(list.at(i));
  }
  return found;
}

// Why a stored certificate of the issuer's name is not the issuer.
std::string NoIssuerDetail(const Walk& walk, const LUMO_X509_CERT& cert) {
  if (lumo_get_hash_aoid_from_sign(walk.vrf, &cert.algorithm.algorithm) == AOID_UNKNOWN)
    return "the algorithm that signed it is none of RSA with SHA-256, SHA-384 or SHA-512";
  const LUMO_X509_NAME& issuer = cert.toBeSigned.issuer;
  const LUMO_PKI_STORE* store = lumo_pki_store_of(walk.vrf);
  const std::string name = "'" + NameText(issuer) + "'";
  const auto bearers = StoredThat<LUMO_X509_CERT>(store->cert_store, [&](const LUMO_X509_CERT& candidate) {
    return SameName(walk, candidate.toBeSigned.subject, issuer);
  });
  if (bearers.empty())
    return "no certificate of its issuer " + name + " is there, and the root has another name";
  const LUMO_X509_CERT_EXTS& extensions = bearers.front()->toBeSigned.extensions;
  if (extensions.ca_info.is_ca != 1) return "the certificate of its issuer " + name + " is no CA's";
  if (!LumoKeyUsageHas(extensions.ku, LUMO_KU_KEY_CERT_SIGN))
    return "the certificate of its issuer " + name + " lacks keyCertSign";
  return "the key of the certificate " + name +
         " that is there does not verify it, or their chain has no root";
}

// Why a stored CRL of the issuer's name is not used.
std::string NoCrlDetail(const Walk& walk, const LUMO_X509_CERT& cert) {
  const LUMO_X509_NAME& issuer = cert.toBeSigned.issuer;
  const LUMO_PKI_STORE* store = lumo_pki_store_of(walk.vrf);
  const auto crls = StoredThat<LUMO_X509_CRL>(store->crl_store, [&](const LUMO_X509_CRL& crl) {
    return SameName(walk, crl.tbs_cert_list.issuer, issuer);
  });
  if (crls.empty()) return "there is no CRL of its issuer '" + NameText(issuer) + "'";
  const LUMO_X509_CRL& crl = *crls.front();
  if (lumo_pki_find_crl_issuer(walk.vrf, &crl) == nullptr)
    return CrlText(crl) + ": no certificate of that name with cRLSign has the key that signed it";
  return CrlText(crl) + ": it ends at " + DeviceTimeText(crl.tbs_cert_list.next_update) + ", judged at " +
         SecondsText(walk.vrf->base_time);
}

std::string EntryText(const LUMO_X509_CRL& crl, const LUMO_X509_REVOKED_ENTRY& entry) {
  return CrlText(crl) + " lists it from " + DeviceTimeText(entry.revocation_date) + " on, reason " +
         std::to_string(entry.attrs.reason);
}

std::string RevokedDetail(const Walk& walk, const LUMO_X509_CERT& cert) {
  const LUMO_PKI_STORE* store = lumo_pki_store_of(walk.vrf);
  for (TEV_UINT32 i = 0; i < store->crl_store.num(); ++i) {
    const LUMO_X509_CRL& crl = *store->crl_store.at(i);
    if (_tevIsCertRevoked(walk.vrf, cert, crl, walk.is_stamp) != LUMO_ERR_CERT_REVOKED) continue;
    if (!SameName(walk, crl.tbs_cert_list.issuer, cert.toBeSigned.issuer) &&
        crl.tbs_cert_list.extensions.idp.indirectCRL == 0) {
      continue;
    }
    const auto& entries = crl.tbs_cert_list.revoked_certs.revoked_list;
    const auto* const end = entries.data + entries.num;
    const auto* const entry = std::find_if(entries.data, end, [&](const LUMO_X509_REVOKED_ENTRY& listed) {
      return lumo_compare_asn_octs(walk.vrf, &listed.user_cert, &cert.toBeSigned.serialNumber) == 0;
    });
    if (entry != end) return EntryText(crl, *entry);
  }
  return {};
}

std::string UsageDetail(const LUMO_X509_CERT& cert, LUMO_ASN_INT purpose) {
  const LUMO_X509_CERT_EXTS& extensions = cert.toBeSigned.extensions;
  if (!LumoKeyUsageHas(extensions.ku, LUMO_KU_DIGITAL_SIGNATURE))
    return "its key usage lacks digitalSignature";
  return std::string("its first extended key usage is not ") +
         (purpose == LUMO_EXKU_TIME_STAMPING ? "timeStamping" : "codeSigning");
}

std::string DetailOf(const Walk& walk, const LUMO_X509_CERT& cert) {
  switch (walk.code) {
    case LUMO_ERR_CERT_NOT_YET_VALID:
    case LUMO_ERR_CERT_EXPIRED:
    case LUMO_ERR_TIME_FORMAT:
      return ValidityDetail(walk, cert);
    case LUMO_ERR_ISSUER_NOT_FOUND:
      return NoIssuerDetail(walk, cert);
    case LUMO_ERR_CRL_NOT_FOUND:
      return NoCrlDetail(walk, cert);
    case LUMO_ERR_CERT_REVOKED:
      return RevokedDetail(walk, cert);
    default:
      return {};
  }
}

}  // namespace

ChainFault FindChainFault(LUMO_VRF* vrf, LUMO_X509_CERT* leaf, LUMO_ASN_INT purpose, LUMO_ERROR_CODE code) {
  if (code == LUMO_ERR_CERT_USAGE) return {.where = CertText(*leaf), .detail = UsageDetail(*leaf, purpose)};
  Walk walk{.vrf = vrf, .is_stamp = purpose == LUMO_EXKU_TIME_STAMPING ? 1U : 0U, .code = code};
  const LUMO_X509_CERT* failing = FindFailing(walk, leaf);
  return {.where = CertText(*failing), .detail = DetailOf(walk, *failing)};
}

}  // namespace fwpack
