#ifndef FWVET_TESTS_VERIFY_X509_FIXTURE_H
#define FWVET_TESTS_VERIFY_X509_FIXTURE_H

#include <gtest/gtest.h>

#include <deque>
#include <vector>

#include "platform/lumo_plt_impl.h"
#include "tests/support/raw_pki.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_plt_proxy.h"
#include "verify/lumo_vrf.h"

/// Decodes certificates and CRLs and releases them at the end. Counts the RSA verifications that are started.
class LumoX509 : public ::testing::Test {
 protected:
  using Bytes = pki::Bytes;

  void SetUp() override {
    ASSERT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0);
    vrf_.callback_funcs.crypt_funcs.lumo_verify_ctx_create = CountingCreate;
    RsaCalls() = 0;
  }
  void TearDown() override {
    for (LUMO_X509_CERT* cert : certs_) lumo_x509_free_cert(&vrf_, cert);
    for (LUMO_X509_CRL* crl : crls_) lumo_x509_free_crl(&vrf_, crl);
  }

  static int& RsaCalls() {
    static int calls = 0;
    return calls;
  }
  static LUMO_ERROR_CODE CountingCreate(LUMO_CRYPTO_VRF_CTX* ctx) {
    ++RsaCalls();
    return lumo_verify_ctx_create_impl(ctx);
  }

  LUMO_ERROR_CODE TryCert(const Bytes& der, LUMO_X509_CERT** cert) {
    inputs_.push_back(der);
    const Bytes& kept = inputs_.back();
    return lumo_x509_decode_cert(&vrf_, kept.data(), static_cast<TEV_UINT32>(kept.size()), cert, &consumed_);
  }

  LUMO_ERROR_CODE TryCrl(const Bytes& der, LUMO_X509_CRL** crl) {
    inputs_.push_back(der);
    const Bytes& kept = inputs_.back();
    return lumo_x509_decode_crl(&vrf_, kept.data(), static_cast<TEV_UINT32>(kept.size()), crl, &consumed_);
  }

  LUMO_X509_CERT* Cert(const Bytes& der) {
    LUMO_X509_CERT* cert = nullptr;
    EXPECT_EQ(TryCert(der, &cert), LUMO_OK);
    if (cert != nullptr) certs_.push_back(cert);
    return cert;
  }

  LUMO_X509_CRL* Crl(const Bytes& der) {
    LUMO_X509_CRL* crl = nullptr;
    EXPECT_EQ(TryCrl(der, &crl), LUMO_OK);
    if (crl != nullptr) crls_.push_back(crl);
    return crl;
  }

  LUMO_ERROR_CODE CertCode(const Bytes& der) {
    LUMO_X509_CERT* cert = nullptr;
    const LUMO_ERROR_CODE rc = TryCert(der, &cert);
    if (cert != nullptr) certs_.push_back(cert);
    return rc;
  }

  LUMO_ERROR_CODE CrlCode(const Bytes& der) {
    LUMO_X509_CRL* crl = nullptr;
    const LUMO_ERROR_CODE rc = TryCrl(der, &crl);
    if (crl != nullptr) crls_.push_back(crl);
    return rc;
  }

  // A certificate of these fields.
  static Bytes DerOf(const pki::RawCert& raw) { return pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Raw")); }
  // Fields that decode, to be bent.
  static pki::RawCert GoodFields() {
    return pki::RawCertFrom(pki::CaSpec("Raw"), pki::NameDer(pki::Cn("Root")));
  }

  // The subject of a certificate with this encoded name.
  const LUMO_X509_NAME* NameOf(const Bytes& name) {
    pki::RawCert raw = GoodFields();
    raw.subject = name;
    LUMO_X509_CERT* cert = Cert(DerOf(raw));
    return cert == nullptr ? nullptr : &cert->toBeSigned.subject;
  }

  LUMO_VRF vrf_{};
  TEV_UINT32 consumed_ = 0;
  std::deque<Bytes> inputs_;  // records point into these
  std::vector<LUMO_X509_CERT*> certs_;
  std::vector<LUMO_X509_CRL*> crls_;
};

#endif
