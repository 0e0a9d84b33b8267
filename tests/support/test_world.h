#ifndef FWVET_TESTS_SUPPORT_TEST_WORLD_H
#define FWVET_TESTS_SUPPORT_TEST_WORLD_H

#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_cms.h"
#include "tests/support/test_package.h"
#include "tests/support/test_pki.h"

// A maker of software under one root: an issuing CA, two code signers, a time stamper, and the packages and
// CRL bundles that they make. All of it is accepted by the device unless a plan says otherwise.
//
//   root -> issuing CA -> signer (serial 2), other signer (3), time stamper (4)

namespace world {

using der::Bytes;
using pki::Cert;
using pki::Time;

constexpr int kKeyCompromise = 1;

/// A CRL bundle: the root's and the issuing CA's CRL and, for the comparison, the CA's certificate.
struct CrlPlan {
  Time root_update = pki::Utc(2024, 5, 1);
  Time ca_update = pki::Utc(2024, 5, 1);
  std::vector<pki::Revoked> by_root{};
  std::vector<pki::Revoked> by_ca{};
  bool with_root_crl = true;
  bool with_ca_crl = true;
  bool with_ca_cert = true;
  bool as_der = false;      // objects in a row instead of PEM
  std::size_t padding = 0;  // line feeds behind a PEM bundle
};

/// A package.
struct PackagePlan {
  Bytes content = der::FromText("software");
  std::string content_file{};  // when not empty, the content that is signed lies there
  CrlPlan crl{};
  std::optional<Bytes> raw_crl{};        // the CRL payload as it is
  std::optional<Bytes> raw_signature{};  // the signature payload as it is
  std::optional<Cert> signer{};          // default: the first signer
  Time time = pki::Utc(2024, 6, 1, 12);  // of the time-stamp
  std::string digest = "SHA256";
  bool signed_attributes = true;
  bool pem_signature = false;
};

class World {
 public:
  explicit World(Cert root);

  Cert root;
  Cert ca;
  Cert signer;
  Cert other_signer;
  Cert tsa;

  [[nodiscard]] Bytes Crls(const CrlPlan& plan) const;
  [[nodiscard]] Bytes Signature(const PackagePlan& plan) const;
  [[nodiscard]] Bytes Package(const PackagePlan& plan) const;
};

/// An entry that revokes `cert` from `date` on.
pki::Revoked Revoke(const Cert& cert, Time date, std::optional<int> reason = std::nullopt);

}  // namespace world

#endif
