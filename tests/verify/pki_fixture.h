#ifndef FWVET_TESTS_VERIFY_PKI_FIXTURE_H
#define FWVET_TESTS_VERIFY_PKI_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "tests/verify/faulty_callbacks.h"
#include "tests/verify/verify_context.h"

// A small PKI, root -> issuing CA -> leaf, and a context that judges it.

/// The moment of judgement where nothing else is said.
inline const pki::Time kNow = pki::Utc(2024, 6, 1, 12);

inline const pki::Cert& Root() {
  static const pki::Cert root = pki::SelfSigned(pki::CaSpec("root"));
  return root;
}
inline const pki::Cert& Ca() {
  static const pki::Cert ca = pki::Issue(Root(), pki::CaSpec("issuing-ca", {2}));
  return ca;
}
inline const pki::Cert& Leaf() {
  static const pki::Cert leaf = pki::Issue(Ca(), pki::CodeSignerSpec("leaf", {3}));
  return leaf;
}

/// The same with a key pair that many certificates share: their names tell them apart.
inline pki::CertSpec WithSharedKey(pki::CertSpec spec) {
  spec.key = pki::KeyNamed("shared");
  return spec;
}

class PkiFixture : public ::testing::Test {
 protected:
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }
  void Trust(const std::vector<pki::Cert>& certs) {
    der::Bytes all;
    for (const pki::Cert& cert : certs) all = der::Concat(all, cert.der);
    ASSERT_EQ(context_->AddCert(all), LUMO_OK);
  }
  void Load(const std::vector<der::Bytes>& crls) {
    der::Bytes all;
    for (const der::Bytes& crl : crls) all = der::Concat(all, crl);
    context_->Load(all);
  }
  [[nodiscard]] LUMO_ERROR_CODE Judge(const pki::Cert& cert, pki::Time when = kNow) {
    return context_->Judge(cert, when);
  }
  [[nodiscard]] LUMO_VRF* vrf() const { return context_->vrf(); }
  [[nodiscard]] LUMO_X509_CRL* Crl(TEV_UINT32 i) const { return context_->store().crl_store.at(i); }
  LUMO_X509_CERT* IssuerOf(const pki::Cert& cert) {
    return _tevFindCertIssuer(vrf(), context_->Stored(cert));
  }
  LUMO_X509_CERT* RootOf(const pki::Cert& cert) { return _tevFindCertRoot(vrf(), context_->Stored(cert)); }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_ = std::make_unique<VerifyContext>(callbacks_.table());
};

#endif
