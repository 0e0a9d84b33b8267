#include "tests/verify/verify_context.h"

#include <algorithm>
#include <stdexcept>

#include "platform/lumo_plt_impl.h"
#include "verify/lumo_pki.h"

namespace {

TEV_UINT32 LengthOf(const der::Bytes& bytes) {
  return static_cast<TEV_UINT32>(bytes.size());
}

}  // namespace

LUMO_CALLBACK_FUNCS PlatformTable() {
  LUMO_CALLBACK_FUNCS table;
  if (lumo_set_callback_funcs(&table) != 0) throw std::logic_error("the platform fills no callback table");
  return table;
}

LUMO_CTX_CREATE_PARAMS ParamsOf(const LUMO_CALLBACK_FUNCS& table) {
  LUMO_CTX_CREATE_PARAMS params{};
  params.st_size = sizeof params;
  params.callback_funcs = table;
  return params;
}

VerifyContext::VerifyContext() : VerifyContext(PlatformTable()) {}

VerifyContext::VerifyContext(const LUMO_CALLBACK_FUNCS& table) {
  const LUMO_CTX_CREATE_PARAMS params = ParamsOf(table);
  if (lumo_verify_create_ctx(&handle_, &params) != LUMO_OK) throw std::runtime_error("no context");
}

VerifyContext::~VerifyContext() {
  lumo_vrf_ctx_free(handle_);
}

LUMO_ERROR_CODE VerifyContext::AddCert(const der::Bytes& data) {
  return lumo_verify_add_cert(handle_, data.data(), LengthOf(data));
}

LUMO_ERROR_CODE VerifyContext::AddCrl(const der::Bytes& data) {
  return lumo_verify_add_crl(handle_, data.data(), LengthOf(data));
}

LUMO_ERROR_CODE VerifyContext::Begin(const der::Bytes& signature) {
  const der::Bytes& kept = kept_.emplace_back(signature);
  return lumo_verify_detach_signature_begin(handle_, kept.data(), LengthOf(kept));
}

LUMO_ERROR_CODE VerifyContext::Update(const der::Bytes& content) {
  return lumo_verify_detach_signature_update(handle_, content.data(), static_cast<TEV_INT32>(content.size()));
}

LUMO_ERROR_CODE VerifyContext::Verify(const der::Bytes& signature, const der::Bytes& content,
                                      TEV_INT32* result) {
  *result = -1;
  if (const LUMO_ERROR_CODE rc = Begin(signature); rc != LUMO_OK) return rc;
  if (const LUMO_ERROR_CODE rc = Update(content); rc != LUMO_OK) return rc;
  return lumo_verify_detach_signature_final(handle_, result);
}

void VerifyContext::Trust(const pki::Cert& cert) {
  if (AddCert(cert) != LUMO_OK) throw std::runtime_error("the certificate is not taken");
}

void VerifyContext::Load(const der::Bytes& crl) {
  if (AddCrl(crl) != LUMO_OK) throw std::runtime_error("the CRL is not taken");
}

LUMO_X509_CERT* VerifyContext::Stored(const pki::Cert& cert) const {
  const der::Bytes tbs = der::FirstElement(der::ContentOf(cert.der));
  const LIST_TYPE_LUMO_X509_CERT& certs = store().cert_store;
  for (TEV_UINT32 i = 0; i < certs.num(); ++i) {
    const LUMO_ASN_OCTS& raw = certs.at(i)->raw_signed;
    if (std::equal(tbs.begin(), tbs.end(), raw.octs, raw.octs + raw.len)) return certs.at(i);
  }
  return nullptr;
}

LUMO_ERROR_CODE VerifyContext::Judge(const pki::Cert& cert, pki::Time base_time, bool ts_relative) const {
  LUMO_X509_CERT* stored = Stored(cert);
  if (stored == nullptr) throw std::logic_error("the certificate is not in the store");
  vrf()->base_time = base_time;
  TEV_BOOL valid = 7;
  const LUMO_ERROR_CODE rc = lumo_pki_verify_cert(vrf(), stored, 1, ts_relative ? 1 : 0, &valid);
  if (valid != (rc == LUMO_OK ? 1u : 0u)) throw std::logic_error("status and verdict differ");
  if (vrf()->curr_depth != 0) throw std::logic_error("the depth counter does not come back");
  return rc;
}

bool Accepts(VerifyContext& context, const der::Bytes& signature, const der::Bytes& content) {
  TEV_INT32 result = -1;
  return context.Verify(signature, content, &result) == LUMO_OK && result == 1;
}

der::Bytes PemOf(const std::string& label, const der::Bytes& der) {
  return der::FromText(pki::Pem(label, der));
}
