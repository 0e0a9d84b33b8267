#ifndef FWVET_TESTS_VERIFY_VERIFY_CONTEXT_H
#define FWVET_TESTS_VERIFY_VERIFY_CONTEXT_H

#include <string>

#include "tests/support/test_pki.h"
#include "verify/lumo_ctx.h"
#include "verify/lumo_pki_store.h"

/// The platform's callback table.
LUMO_CALLBACK_FUNCS PlatformTable();
/// Creation parameters with that table.
LUMO_CTX_CREATE_PARAMS ParamsOf(const LUMO_CALLBACK_FUNCS& table);

/// A verify context, freed at the end. Its calls take byte strings; those given to Begin are kept for as long
/// as the context lives.
class VerifyContext {
 public:
  VerifyContext();
  explicit VerifyContext(const LUMO_CALLBACK_FUNCS& table);
  ~VerifyContext();
  VerifyContext(const VerifyContext&) = delete;
  VerifyContext& operator=(const VerifyContext&) = delete;

  [[nodiscard]] LUMO_VRF_CTX handle() const { return handle_; }
  [[nodiscard]] LUMO_VRF* vrf() const { return lumo_vrf_of(handle_); }
  [[nodiscard]] LUMO_PKI_STORE& store() const { return *lumo_pki_store_of(vrf()); }

  LUMO_ERROR_CODE AddCert(const der::Bytes& data);
  LUMO_ERROR_CODE AddCrl(const der::Bytes& data);
  LUMO_ERROR_CODE AddCert(const pki::Cert& cert) { return AddCert(cert.der); }
  LUMO_ERROR_CODE Begin(const der::Bytes& signature);
  LUMO_ERROR_CODE Update(const der::Bytes& content);
  /// Begin, one update and final; *result is -1 when final was not reached.
  LUMO_ERROR_CODE Verify(const der::Bytes& signature, const der::Bytes& content, TEV_INT32* result);

  /// As AddCert and AddCrl; throws std::runtime_error unless it worked.
  void Trust(const pki::Cert& cert);
  void Load(const der::Bytes& crl);

  /// The stored record of `cert`, or null.
  [[nodiscard]] LUMO_X509_CERT* Stored(const pki::Cert& cert) const;
  /// lumo_pki_verify_cert of the stored record as an outer call at `base_time`.
  LUMO_ERROR_CODE Judge(const pki::Cert& cert, pki::Time base_time, bool ts_relative = false) const;

 private:
  LUMO_VRF_CTX handle_ = nullptr;
  std::vector<der::Bytes> kept_{};
};

/// Whether final would say yes: every step worked and the result is 1.
bool Accepts(VerifyContext& context, const der::Bytes& signature, const der::Bytes& content);

/// Names the cases of a table after their rows.
struct NameOfRow {
  template <class Info>
  std::string operator()(const Info& info) const {
    return info.param.name;
  }
};

/// The octets of a PEM text.
der::Bytes PemOf(const std::string& label, const der::Bytes& der);

#endif
