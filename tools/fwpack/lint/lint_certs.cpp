#include "tools/fwpack/lint/lint_certs.h"

#include <algorithm>

#include "tools/fwpack/view/name_view.h"

namespace fwpack::lint {
namespace {

constexpr std::size_t kSignatureGrain = 8;  // bytes of which a signature must be a multiple

// Calls `look` for each certificate of the package that could be decoded here.
template <class Look>
void ForEachCert(const Scene& scene, Look look) {
  for (const PlacedCert& placed : scene.certs) {
    if (placed.cert.x509 != nullptr) look(placed.cert, WhereOf(placed));
  }
}

// The algorithm beside the signature: the one inside is not looked at by the device.
std::string OuterAlgorithm(const CertView& cert) {
  const X509_ALGOR* algorithm = nullptr;
  X509_get0_signature(nullptr, &algorithm, cert.x509.get());
  return AlgorithmName(algorithm);
}

bool HasDeviceDigest(const CertView& cert) {
  return IsDeviceDigest(OuterAlgorithm(cert));
}

// Whether the device, too, reads cA as TRUE.
bool DeviceFindsCa(const LUMO_VRF* vrf, const CertView& cert) {
  OwnedCert decoded(vrf);
  TEV_UINT32 consumed = 0;
  const auto code = lumo_x509_decode_cert(vrf, reinterpret_cast<const TEV_BYTE*>(cert.der.data()),
                                          static_cast<TEV_UINT32>(cert.der.size()), decoded.out(), &consumed);
  return code == LUMO_OK && decoded->toBeSigned.extensions.ca_info.is_ca == 1;
}

bool IsKnownExtension(const X509_EXTENSION* extension) {
  const int nid = OBJ_obj2nid(X509_EXTENSION_get_object(const_cast<X509_EXTENSION*>(extension)));
  return nid == NID_basic_constraints || nid == NID_key_usage || nid == NID_ext_key_usage;
}

}  // namespace

std::size_t SerialBytes(const SerialView& serial) {
  const bool has_zero = serial.octets.size() > 1 && serial.octets.front() == '\0';
  return serial.octets.size() - (has_zero ? 1 : 0);
}

void CertUndecodable(const Scene& scene, Report& report) {
  for (const PlacedCert& placed : scene.certs) {
    if (placed.cert.device_code != LUMO_OK)
      report.Add(WhereOf(placed), lumo_error_name(placed.cert.device_code));
  }
}

void CertVersion1(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    if (cert.version == 1 && cert.device_code != LUMO_OK) report.Add(where);
  });
}

void KeyNotRsa(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    const bool is_rsa = cert.key_bits != 0 || cert.key_algorithm.starts_with("rsa");
    if (!is_rsa && cert.device_code != LUMO_OK) report.Add(where, cert.key_algorithm);
  });
}

void KeyTooLong(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    if (cert.key_bits > kMaxKeyBits) report.Add(where, Above(cert.key_bits, "bits", kMaxKeyBits));
  });
}

void KeyShort(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    if (cert.key_bits > 0 && cert.key_bits < kMinKeyBits)
      report.Add(where, std::to_string(cert.key_bits) + " bits");
  });
}

void ModulusLength(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    if (cert.modulus_bytes % kSignatureGrain != 0)
      report.Add(where, std::to_string(cert.modulus_bytes) + " bytes");
  });
}

void CertDigest(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    if (!cert.is_self_issued && !HasDeviceDigest(cert)) report.Add(where, OuterAlgorithm(cert));
  });
}

void SelfIssuedDigest(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    if (cert.is_self_issued && !HasDeviceDigest(cert)) report.Add(where, OuterAlgorithm(cert));
  });
}

void CaBoolean(const Scene& scene, Report& report) {
  const LUMO_VRF* vrf = scene.store.vrf();
  ForEachCert(scene, [&report, vrf](const CertView& cert, const std::string& where) {
    if (cert.is_ca && cert.device_code == LUMO_OK && !DeviceFindsCa(vrf, cert)) report.Add(where);
  });
}

void DecipherOnly(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    const auto& usages = cert.key_usages;
    if (std::find(usages.begin(), usages.end(), "decipherOnly") == usages.end()) return;
    report.Add(where, usages.size() == 1 ? "taken for digitalSignature" : "ignored");
  });
}

void CertSerial(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    const std::size_t bytes = SerialBytes(cert.serial);
    if (bytes > kMaxSerialBytes) report.Add(where, Above(bytes, "bytes", kMaxSerialBytes));
  });
}

void CertCriticalExtension(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    for (int i = 0; i < X509_get_ext_count(cert.x509.get()); ++i) {
      X509_EXTENSION* extension = X509_get_ext(cert.x509.get(), i);
      if (X509_EXTENSION_get_critical(extension) == 1 && !IsKnownExtension(extension))
        report.Add(where, ShortName(X509_EXTENSION_get_object(extension)));
    }
  });
}

void PathLength(const Scene& scene, Report& report) {
  ForEachCert(scene, [&report](const CertView& cert, const std::string& where) {
    const long length = X509_get_pathlen(cert.x509.get());
    if (length >= 0) report.Add(where, "path length " + std::to_string(length));
  });
}

void SelfSigned(const Scene& scene, Report& report) {
  const LUMO_VRF* vrf = scene.store.vrf();
  ForEachCert(scene, [&report, vrf](const CertView& cert, const std::string& where) {
    if (DeviceFindsSelfSigned(vrf, cert) == true) report.Add(where);
  });
}

}  // namespace fwpack::lint
