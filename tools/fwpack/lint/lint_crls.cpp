#include "tools/fwpack/lint/lint_crls.h"

#include <algorithm>

#include "tools/fwpack/lint/lint_certs.h"
#include "tools/fwpack/view/name_view.h"

namespace fwpack::lint {
namespace {

constexpr std::size_t kMaxEntries = SET_TYPE_LUMO_X509_REVOKED_ENTRY::kRoom;
constexpr long kVersion1 = 0;
constexpr int kRemoveFromCrl = 8;

using PointPtr = OpenSslPtr<ISSUING_DIST_POINT, ISSUING_DIST_POINT_free>;

// Calls `look` for each CRL of the package that could be decoded here.
template <class Look>
void ForEachCrl(const Scene& scene, Look look) {
  for (const CrlView* crl : scene.crls) {
    if (crl->x509 != nullptr) look(*crl, WhereOf(*crl));
  }
}

/// A CRL as the device decodes it; none when it cannot.
class DeviceCrl {
 public:
  DeviceCrl(const LUMO_VRF* vrf, const CrlView& view) : crl_(vrf) {
    TEV_UINT32 consumed = 0;
    code_ = lumo_x509_decode_crl(vrf, reinterpret_cast<const TEV_BYTE*>(view.der.data()),
                                 static_cast<TEV_UINT32>(view.der.size()), crl_.out(), &consumed);
  }
  [[nodiscard]] const LUMO_X509_CRL* get() const { return code_ == LUMO_OK ? crl_.get() : nullptr; }
  [[nodiscard]] bool is_indirect() const {
    return get() != nullptr && get()->tbs_cert_list.extensions.idp.indirectCRL == 1;
  }

 private:
  OwnedCrl crl_;
  LUMO_ERROR_CODE code_;
};

PointPtr PointOf(const CrlView& crl) {
  return PointPtr(static_cast<ISSUING_DIST_POINT*>(
      X509_CRL_get_ext_d2i(crl.x509.get(), NID_issuing_distribution_point, nullptr, nullptr)));
}

bool MaySignCrls(const CertView& cert) {
  return std::find(cert.key_usages.begin(), cert.key_usages.end(), "cRLSign") != cert.key_usages.end();
}

// Calls `look` for each CRL that the device decodes and to which it finds no issuer, with the owner of its
// key or null; not for those of which nothing is known.
template <class Look>
void ForEachWithoutIssuer(const Scene& scene, Look look) {
  ForEachCrl(scene, [&scene, &look](const CrlView& crl, const std::string& where) {
    if (crl.device_code != LUMO_OK) return;
    const CrlIssuer& issuer = scene.crl_issuers.Of(scene, crl);
    if (issuer.is_known && !issuer.device_finds) look(issuer.key_owner, where);
  });
}

}  // namespace

void CrlUndecodable(const Scene& scene, Report& report) {
  for (const CrlView* crl : scene.crls) {
    if (crl->device_code != LUMO_OK) report.Add(WhereOf(*crl), lumo_error_name(crl->device_code));
  }
}

void TooManyEntries(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    const std::size_t count = crl.revoked.size();
    if (count > kMaxEntries) report.Add(where, Above(count, "entries", kMaxEntries));
  });
}

void NoNextUpdate(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    if (!crl.next_update) report.Add(where);
  });
}

void CrlVersion1(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    if (X509_CRL_get_version(crl.x509.get()) == kVersion1 && crl.device_code != LUMO_OK) report.Add(where);
  });
}

void CrlDigest(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    if (!IsDeviceDigest(crl.signature_algorithm)) report.Add(where, crl.signature_algorithm);
  });
}

void IssuerWithoutCrlSign(const Scene& scene, Report& report) {
  ForEachWithoutIssuer(scene, [&report](const CertView* owner, const std::string& where) {
    if (owner != nullptr && !MaySignCrls(*owner))
      report.Add(where, "verified by the key of " + WhereOf(*owner));
  });
}

void CrlIssuerMissing(const Scene& scene, Report& report) {
  ForEachWithoutIssuer(scene, [&report](const CertView* owner, const std::string& where) {
    if (owner == nullptr) report.Add(where);
  });
}

void EndsBeforeTimestamp(const Scene& scene, Report& report) {
  if (!scene.stamped) return;
  ForEachCrl(scene, [&scene, &report](const CrlView& crl, const std::string& where) {
    if (crl.next_update && crl.next_update->device && *crl.next_update->device < *scene.stamped) {
      report.Add(where, "ends " + FormatUtcTime(*crl.next_update->device) + ", stamped " +
                            FormatUtcTime(*scene.stamped));
    }
  });
}

void EntrySerial(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    for (const RevokedView& entry : crl.revoked) {
      const std::size_t bytes = SerialBytes(entry.serial);
      if (bytes <= kMaxSerialBytes) continue;
      report.Add("entry " + Shortened(entry.serial.hex) + " of " + where,
                 Above(bytes, "bytes", kMaxSerialBytes));
    }
  });
}

void IndirectBoolean(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&scene, &report](const CrlView& crl, const std::string& where) {
    const PointPtr point = PointOf(crl);
    const DeviceCrl decoded(scene.store.vrf(), crl);
    if (point != nullptr && point->indirectCRL > 0 && decoded.get() != nullptr && !decoded.is_indirect())
      report.Add(where);
  });
}

void IndirectCrl(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&scene, &report](const CrlView& crl, const std::string& where) {
    if (DeviceCrl(scene.store.vrf(), crl).is_indirect()) report.Add(where);
  });
}

void PartialCrl(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    const PointPtr point = PointOf(crl);
    if (point == nullptr) return;
    const bool is_partial = point->onlyuser > 0 || point->onlyCA > 0 || point->onlyattr > 0 ||
                            point->onlysomereasons != nullptr || point->distpoint != nullptr;
    if (is_partial) report.Add(where);
  });
}

void CrlCriticalExtension(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    for (int i = 0; i < X509_CRL_get_ext_count(crl.x509.get()); ++i) {
      X509_EXTENSION* extension = X509_CRL_get_ext(crl.x509.get(), i);
      const ASN1_OBJECT* type = X509_EXTENSION_get_object(extension);
      if (X509_EXTENSION_get_critical(extension) == 1 && OBJ_obj2nid(type) != NID_issuing_distribution_point)
        report.Add(where, ShortName(type));
    }
  });
}

void RemoveFromCrl(const Scene& scene, Report& report) {
  ForEachCrl(scene, [&report](const CrlView& crl, const std::string& where) {
    for (const RevokedView& entry : crl.revoked) {
      if (entry.reason == kRemoveFromCrl) report.Add("entry " + Shortened(entry.serial.hex) + " of " + where);
    }
  });
}

}  // namespace fwpack::lint
