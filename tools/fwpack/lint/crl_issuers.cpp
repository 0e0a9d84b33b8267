#include "tools/fwpack/lint/crl_issuers.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tools/fwpack/lint/lint_certs.h"
#include "tools/fwpack/lint/scene.h"
#include "verify/lumo_pki_store.h"

namespace fwpack {
namespace {

using KeyIdPtr = OpenSslPtr<AUTHORITY_KEYID, AUTHORITY_KEYID_free>;

bool DeviceFindsIssuer(const Scene& scene, const CrlView& crl) {
  OwnedCrl decoded(scene.store.vrf());
  TEV_UINT32 consumed = 0;
  const auto code = lumo_x509_decode_crl(scene.store.vrf(), reinterpret_cast<const TEV_BYTE*>(crl.der.data()),
                                         static_cast<TEV_UINT32>(crl.der.size()), decoded.out(), &consumed);
  return code == LUMO_OK && lumo_pki_find_crl_issuer(scene.store.vrf(), decoded.get()) != nullptr;
}

std::size_t SignatureBytes(const CrlView& crl) {
  const ASN1_BIT_STRING* signature = nullptr;
  X509_CRL_get0_signature(crl.x509.get(), &signature, nullptr);
  return static_cast<std::size_t>(std::max(ASN1_STRING_length(signature), 0));
}

// Whether the key may have signed: whatever costs less than to verify. What the device cannot verify with, it
// is not worth while to try.
bool MayOwnKey(const CertView& cert, const CrlView& crl) {
  return cert.key_bits != 0 && cert.key_bits <= lint::kMaxKeyBits && cert.subject.der == crl.issuer.der &&
         cert.modulus_bytes == SignatureBytes(crl) && X509_get0_pubkey(cert.x509.get()) != nullptr;
}

// Whether the CRL names this certificate's key by its identifier. A wrong one excludes nothing.
bool IsNamed(const CertView& cert, const AUTHORITY_KEYID* id) {
  const ASN1_OCTET_STRING* own = X509_get0_subject_key_id(cert.x509.get());
  return id != nullptr && id->keyid != nullptr && own != nullptr &&
         ASN1_OCTET_STRING_cmp(own, id->keyid) == 0;
}

std::string KeyOf(const CertView& cert) {
  return ToDer(X509_get_X509_PUBKEY(cert.x509.get()), i2d_X509_PUBKEY, "encode a public key");
}

// Certificates with different keys, of which one may be the CRL's issuer's; those that it names are first.
std::vector<const CertView*> Candidates(const Scene& scene, const CrlView& crl) {
  std::vector<const CertView*> candidates;
  std::set<std::string> keys;
  const auto take = [&](const CertView& cert) {
    if (MayOwnKey(cert, crl) && keys.insert(KeyOf(cert)).second) candidates.push_back(&cert);
  };
  take(scene.input.root);
  for (const PlacedCert& placed : scene.certs) take(placed.cert);
  const KeyIdPtr id(static_cast<AUTHORITY_KEYID*>(
      X509_CRL_get_ext_d2i(crl.x509.get(), NID_authority_key_identifier, nullptr, nullptr)));
  std::stable_partition(candidates.begin(), candidates.end(),
                        [&id](const CertView* cert) { return IsNamed(*cert, id.get()); });
  return candidates;
}

}  // namespace

const CrlIssuer& CrlIssuers::Of(const Scene& scene, const CrlView& crl) {
  const auto known = found_.find(&crl);
  if (known != found_.end()) return known->second;
  const CrlIssuer issuer = Search(scene, crl);
  (void)TakeOpenSslReasons();
  return found_.emplace(&crl, issuer).first->second;
}

CrlIssuer CrlIssuers::Search(const Scene& scene, const CrlView& crl) {
  if (DeviceFindsIssuer(scene, crl)) return {.device_finds = true};
  for (const CertView* cert : Candidates(scene, crl)) {
    if (left_ == 0) return {.is_known = false};
    --left_;
    if (X509_CRL_verify(crl.x509.get(), X509_get0_pubkey(cert->x509.get())) == 1) return {.key_owner = cert};
  }
  return {};
}

}  // namespace fwpack
