#include "tests/support/test_world.h"

#include <utility>

namespace world {

World::World(Cert the_root)
    : root(std::move(the_root)),
      ca(pki::Issue(root, pki::CaSpec("issuing-ca", {2}))),
      signer(pki::Issue(ca, pki::CodeSignerSpec("signer", {2}))),
      other_signer(pki::Issue(ca, pki::CodeSignerSpec("other-signer", {3}))),
      tsa(pki::Issue(ca, pki::TimeStamperSpec("time-stamper", {4}))) {}

Bytes World::Crls(const CrlPlan& plan) const {
  std::vector<Bytes> crls;
  if (plan.with_root_crl) {
    pki::CrlSpec spec{.this_update = plan.root_update, .revoked = plan.by_root};
    crls.push_back(pki::MakeCrl(root, spec));
  }
  if (plan.with_ca_crl) {
    pki::CrlSpec spec{.this_update = plan.ca_update, .revoked = plan.by_ca};
    crls.push_back(pki::MakeCrl(ca, spec));
  }
  const std::vector<Cert> certs = plan.with_ca_cert ? std::vector<Cert>{ca} : std::vector<Cert>{};
  if (!plan.as_der) return der::FromText(pki::PemBundle(crls, certs) + std::string(plan.padding, '\n'));
  Bytes bundle;
  for (const Bytes& crl : crls) bundle = der::Concat(bundle, crl);
  for (const Cert& cert : certs) bundle = der::Concat(bundle, cert.der);
  return bundle;
}

Bytes World::Signature(const PackagePlan& plan) const {
  const Cert& by = plan.signer ? *plan.signer : signer;
  const pki::TokenSpec token{.tsa = tsa, .time = plan.time, .certs = {tsa}};
  const pki::SignerSpec signer_spec{
      .signer = by, .digest = plan.digest, .signed_attributes = plan.signed_attributes, .token = token};
  const Bytes message = pki::MakeCms({.content = plan.content,
                                      .content_file = plan.content_file,
                                      .signers = {signer_spec},
                                      .certs = {by, ca}});
  return plan.pem_signature ? der::FromText(pki::Pem("CMS", message)) : message;
}

Bytes World::Package(const PackagePlan& plan) const {
  return package::Build(plan.content, plan.raw_signature ? *plan.raw_signature : Signature(plan),
                        plan.raw_crl ? *plan.raw_crl : Crls(plan.crl));
}

pki::Revoked Revoke(const Cert& cert, Time date, std::optional<int> reason) {
  return {.serial = der::ContentOf(pki::SerialOf(cert)), .date = date, .reason = reason};
}

}  // namespace world
