#ifndef FWVET_TOOLS_FWPACK_PEM_FILES_H
#define FWVET_TOOLS_FWPACK_PEM_FILES_H

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"
#include "tools/fwpack/secret_bytes.h"

// Certificates, CRLs and keys from files and to PEM text. Every failure names the file.
namespace fwpack {

/// The certificates of a file: all of a PEM text, in its order, or the one of a DER file. Throws Error when
/// there is none or one is damaged.
std::vector<CertPtr> LoadCerts(const std::filesystem::path& path);
/// The same of `bytes`, which errors call `name`.
std::vector<CertPtr> CertsOf(std::string_view bytes, const std::string& name);
/// The same of several files.
std::vector<CertPtr> LoadAllCerts(const std::vector<std::filesystem::path>& files);
/// The certificate of a file that must hold exactly one.
CertPtr LoadCert(const std::filesystem::path& path);
/// The unencrypted private key of a PEM file.
KeyPtr LoadKey(const std::filesystem::path& path);
/// The first CRL of a PEM text or of a DER file.
CrlPtr LoadCrl(const std::filesystem::path& path);
/// The first CRL in `bytes`: PEM, or certificates and CRLs in a row in DER; null when there is none. Leaves
/// OpenSSL's error queue empty.
CrlPtr ParseCrl(const std::string& bytes);

/// The certificates in `bytes`, PEM or DER, up to the first that is damaged; none is no error. Leaves
/// OpenSSL's error queue empty.
std::vector<CertPtr> ParseCerts(const std::string& bytes);

/// PEM texts with LF line ends.
std::string CertToPem(X509* cert);
std::string CrlToPem(X509_CRL* crl);
SecretBytes KeyToPem(EVP_PKEY* key);

/// What messages call a certificate: its subject as one line of printable ASCII, all else escaped.
std::string SubjectText(const X509* cert);

/// A stream over `bytes`, which must outlive it.
BioPtr ReadFrom(std::string_view bytes);
/// An empty stream to write to, and what was written to it.
BioPtr NewMemory();
std::string TakeMemory(BIO* memory);

}  // namespace fwpack

#endif
