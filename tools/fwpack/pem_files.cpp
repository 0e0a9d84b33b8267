#include "tools/fwpack/pem_files.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <limits>
#include <utility>

#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"

namespace fwpack {
namespace {

// For encrypted keys: no passphrase is asked for, so that a run in the background cannot hang at a prompt.
int NoPassphrase(char* /*buffer*/, int /*size*/, int /*for_writing*/, void* /*data*/) {
  return -1;
}

bool IsPem(std::string_view bytes) {
  return bytes.find("-----BEGIN ") != std::string_view::npos;
}

template <class Pointer, class Decode>
Pointer ParseDer(std::string_view bytes, Decode decode) {
  const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
  return Pointer(decode(nullptr, &in, static_cast<long>(bytes.size())));
}

// PEM readers report the end of the text as a failure with this reason.
bool StoppedAtEnd() {
  return ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
}

// The certificates up to the end of the text or to the first one that is damaged.
std::vector<CertPtr> ParsePemCerts(std::string_view text) {
  std::vector<CertPtr> certs;
  const BioPtr stream = ReadFrom(text);
  while (X509* cert = PEM_read_bio_X509(stream.get(), nullptr, nullptr, nullptr)) certs.emplace_back(cert);
  return certs;
}

// Objects in a row, as a bundle in DER has them; certificates are passed over.
CrlPtr FirstCrlOfDer(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto length = static_cast<long>(bytes.size());
    if (CrlPtr crl{d2i_X509_CRL(nullptr, &at, length)}) return crl;
    at = reinterpret_cast<const unsigned char*>(bytes.data());
    const CertPtr cert(d2i_X509(nullptr, &at, length));
    if (cert == nullptr) return nullptr;
    bytes.remove_prefix(static_cast<std::size_t>(at - reinterpret_cast<const unsigned char*>(bytes.data())));
  }
  return nullptr;
}

}  // namespace

BioPtr ReadFrom(std::string_view bytes) {
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw Error("more than 2 GiB cannot be decoded");
  }
  BioPtr stream(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
  RequireOpenSsl(stream != nullptr, "make a stream");
  return stream;
}

BioPtr NewMemory() {
  BioPtr memory(BIO_new(BIO_s_mem()));
  RequireOpenSsl(memory != nullptr, "make a stream");
  return memory;
}

std::string TakeMemory(BIO* memory) {
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(memory, &bytes);
  return length > 0 ? std::string(bytes, static_cast<std::size_t>(length)) : std::string();
}

std::vector<CertPtr> CertsOf(std::string_view bytes, const std::string& name) {
  std::vector<CertPtr> certs;
  ERR_clear_error();
  if (IsPem(bytes)) {
    certs = ParsePemCerts(bytes);
    if (!StoppedAtEnd()) {
      throw Error(name + ": holds a damaged certificate: " + TakeOpenSslReasons());
    }
  } else if (CertPtr cert = ParseDer<CertPtr>(bytes, d2i_X509)) {
    certs.push_back(std::move(cert));
  }
  ERR_clear_error();
  if (certs.empty()) throw Error(name + ": holds no certificate");
  return certs;
}

// The private key may stand in the same file.
std::vector<CertPtr> LoadCerts(const std::filesystem::path& path) {
  const SecretBytes bytes = ReadSecretFile(path);
  return CertsOf(TextOf(bytes), path.string());
}

std::vector<CertPtr> LoadAllCerts(const std::vector<std::filesystem::path>& files) {
  std::vector<CertPtr> all;
  for (const std::filesystem::path& file : files) {
    for (CertPtr& cert : LoadCerts(file)) all.push_back(std::move(cert));
  }
  return all;
}

CertPtr LoadCert(const std::filesystem::path& path) {
  std::vector<CertPtr> certs = LoadCerts(path);
  if (certs.size() != 1) {
    throw Error(path.string() + ": holds " + std::to_string(certs.size()) +
                " certificates where one is wanted");
  }
  return std::move(certs.front());
}

KeyPtr LoadKey(const std::filesystem::path& path) {
  const SecretBytes bytes = ReadSecretFile(path);
  const BioPtr stream = ReadFrom(TextOf(bytes));
  ERR_clear_error();
  KeyPtr key(PEM_read_bio_PrivateKey(stream.get(), nullptr, NoPassphrase, nullptr));
  if (key == nullptr && TextOf(bytes).find("ENCRYPTED") != std::string_view::npos) {
    ERR_clear_error();
    throw Error(path.string() + ": the private key is encrypted; decrypt it first");
  }
  if (key == nullptr) {
    ERR_clear_error();
    throw Error(path.string() + ": holds no private key in PEM");
  }
  return key;
}

std::vector<CertPtr> ParseCerts(const std::string& bytes) {
  std::vector<CertPtr> certs;
  if (IsPem(bytes)) {
    certs = ParsePemCerts(bytes);
  } else if (CertPtr cert = ParseDer<CertPtr>(bytes, d2i_X509)) {
    certs.push_back(std::move(cert));
  }
  ERR_clear_error();
  return certs;
}

CrlPtr ParseCrl(const std::string& bytes) {
  CrlPtr crl = IsPem(bytes) ? CrlPtr(PEM_read_bio_X509_CRL(ReadFrom(bytes).get(), nullptr, nullptr, nullptr))
                            : FirstCrlOfDer(bytes);
  ERR_clear_error();
  return crl;
}

CrlPtr LoadCrl(const std::filesystem::path& path) {
  CrlPtr crl = ParseCrl(ReadSmallFile(path));
  if (crl == nullptr) throw Error(path.string() + ": holds no CRL");
  return crl;
}

std::string CertToPem(X509* cert) {
  const BioPtr memory = NewMemory();
  RequireOpenSsl(PEM_write_bio_X509(memory.get(), cert) == 1, "write a certificate");
  return TakeMemory(memory.get());
}

std::string CrlToPem(X509_CRL* crl) {
  const BioPtr memory = NewMemory();
  RequireOpenSsl(PEM_write_bio_X509_CRL(memory.get(), crl) == 1, "write a CRL");
  return TakeMemory(memory.get());
}

SecretBytes KeyToPem(EVP_PKEY* key) {
  const BioPtr memory = NewMemory();
  RequireOpenSsl(PEM_write_bio_PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
                 "write a private key");
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(memory.get(), &bytes);
  return {bytes, bytes + length};
}

std::string SubjectText(const X509* cert) {
  const BioPtr memory = NewMemory();
  if (X509_NAME_print_ex(memory.get(), X509_get_subject_name(cert), 0, XN_FLAG_ONELINE) < 0) {
    return "(unreadable)";
  }
  return TakeMemory(memory.get());
}

}  // namespace fwpack
