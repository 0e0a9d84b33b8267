#include "tools/fwpack/root.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <string_view>
#include <utility>
#include <vector>

#include "app/root_cert.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"

namespace fwpack {
namespace {

constexpr int kMaxKeyBits = 4096;
constexpr int kModulusUnit = 8;
constexpr long kVersion1 = 0;  // as OpenSSL reports it
constexpr std::size_t kLineLength = 64;
constexpr char kBegin[] = "-----BEGIN CERTIFICATE-----\r\n";
constexpr char kEnd[] = "-----END CERTIFICATE-----\r\n";
constexpr char kLineEnd[] = "\r\n";

bool HasKnownSignature(const X509* cert) {
  const int nid = X509_get_signature_nid(cert);
  return nid == NID_sha256WithRSAEncryption || nid == NID_sha384WithRSAEncryption ||
         nid == NID_sha512WithRSAEncryption;
}

// The device compares names octet by octet, so names that only mean the same are not enough.
bool NamesAreIdentical(const X509* cert) {
  return ToDer(X509_get_subject_name(cert), i2d_X509_NAME, "encode a name") ==
         ToDer(X509_get_issuer_name(cert), i2d_X509_NAME, "encode a name");
}

// A rule that a certificate breaks, and the way out.
struct Fault {
  std::string broken_rule{};
  std::string remedy{};
};

constexpr char kRsaRemedy[] = "make a root with an RSA key of 2048, 3072 or 4096 bits";
constexpr char kDigestRemedy[] = "have it signed again with SHA-256, as with openssl req -x509 -sha256";
constexpr char kSelfSignedRemedy[] = "give the certificate at the top of the chain";

Fault FaultOfKey(EVP_PKEY* key) {
  if (key == nullptr || EVP_PKEY_get_base_id(key) != EVP_PKEY_RSA) {
    return {"has no RSA key; the device knows no other kind", kRsaRemedy};
  }
  const int bits = EVP_PKEY_get_bits(key);
  if (bits > kMaxKeyBits) {
    return {"has a key of " + std::to_string(bits) + " bits; the device takes at most " +
                std::to_string(kMaxKeyBits),
            kRsaRemedy};
  }
  if ((bits + 7) / 8 % kModulusUnit != 0) {
    return {"has a key of " + std::to_string(bits) +
                " bits; on the device nothing verifies with a modulus whose bytes are no multiple of 8",
            kRsaRemedy};
  }
  return {};
}

Fault FaultOf(X509* cert) {
  if (X509_get_version(cert) == kVersion1) {
    return {"is version 1; the device reads only later versions", "make it with extensions, as version 3"};
  }
  EVP_PKEY* key = X509_get0_pubkey(cert);
  if (Fault fault = FaultOfKey(key); !fault.broken_rule.empty()) return fault;
  if (!NamesAreIdentical(cert)) {
    return {"is not self-signed: its issuer is not its subject", kSelfSignedRemedy};
  }
  if (!HasKnownSignature(cert)) {
    return {std::string("is signed with ") + OBJ_nid2sn(X509_get_signature_nid(cert)) +
                "; the device knows RSA with SHA-256, SHA-384 and SHA-512",
            kDigestRemedy};
  }
  if (X509_verify(cert, key) != 1) {
    return {"is not self-signed: its own key does not verify its signature", kSelfSignedRemedy};
  }
  return {};
}

std::vector<std::string> BodyLines(const std::string& der) {
  std::string base64(4 * ((der.size() + 2) / 3) + 1, '\0');
  const int length =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()),
                      reinterpret_cast<const unsigned char*>(der.data()), static_cast<int>(der.size()));
  base64.resize(static_cast<std::size_t>(length));
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < base64.size(); at += kLineLength)
    lines.push_back(base64.substr(at, kLineLength));
  return lines;
}

std::size_t PemLength(const std::vector<std::string>& lines) {
  std::size_t length = sizeof kBegin - 1 + sizeof kEnd - 1;
  for (const std::string& line : lines) length += line.size() + sizeof kLineEnd - 1;
  return length;
}

// Spreads the missing characters over all lines, so that no line grows beyond what other readers of PEM take.
std::string Pad(std::vector<std::string> lines, std::size_t spaces) {
  const std::size_t each = spaces / lines.size();
  const std::size_t longer = spaces % lines.size();
  std::string text = kBegin;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    text += lines[i] + std::string(each + (i < longer ? 1 : 0), ' ') + kLineEnd;
  }
  return text + kEnd;
}

// The encoded certificates of a PEM text, as they stand there.
std::vector<std::string> EncodedCertificates(const std::string& pem) {
  std::vector<std::string> found;
  const BioPtr stream = ReadFrom(pem);
  char* label = nullptr;
  char* header = nullptr;
  unsigned char* data = nullptr;
  long length = 0;
  while (PEM_read_bio(stream.get(), &label, &header, &data, &length) == 1) {
    if (std::string_view(label) == "CERTIFICATE") {
      found.emplace_back(reinterpret_cast<const char*>(data), static_cast<std::size_t>(length));
    }
    OPENSSL_free(label);
    OPENSSL_free(header);
    OPENSSL_free(data);
  }
  ERR_clear_error();
  return found;
}

std::string OnlyCertificate(const std::string& pem) {
  std::vector<std::string> found = EncodedCertificates(pem);
  if (found.empty()) throw Error("holds no certificate in PEM; `openssl x509 -inform DER` makes it of DER");
  if (found.size() > 1) throw Error("holds more than one certificate");
  return std::move(found.front());
}

CertPtr Decode(const std::string& der) {
  const auto* in = reinterpret_cast<const unsigned char*>(der.data());
  CertPtr cert(d2i_X509(nullptr, &in, static_cast<long>(der.size())));
  ERR_clear_error();
  if (cert == nullptr || in != reinterpret_cast<const unsigned char*>(der.data() + der.size())) {
    throw Error("holds a damaged certificate");
  }
  return cert;
}

}  // namespace

RootCheck CheckRootCertificate(const std::string& pem) {
  const std::string der = OnlyCertificate(pem);
  Fault fault = FaultOf(Decode(der).get());
  ERR_clear_error();
  if (!fault.broken_rule.empty()) {
    return {.broken_rule = std::move(fault.broken_rule), .remedy = std::move(fault.remedy)};
  }

  const std::vector<std::string> lines = BodyLines(der);
  RootCheck check;
  check.pem_length = PemLength(lines);
  if (check.pem_length > kRootCertSize) {
    check.broken_rule = "needs " + std::to_string(check.pem_length) + " bytes as PEM; the device holds " +
                        std::to_string(kRootCertSize);
    check.remedy = "shorten its name, leave out extensions or make the key smaller";
    return check;
  }
  check.padded = Pad(lines, kRootCertSize - check.pem_length);
  // What was padded must still be the same certificate to other readers.
  if (EncodedCertificates(check.padded) != std::vector{der}) {
    check.broken_rule = "is too short to be brought to the device's length";
    check.remedy = "make the key larger";
  }
  return check;
}

RootCheck LoadRoot(const std::filesystem::path& file) {
  const std::string pem = ReadSmallFile(file);
  RootCheck check;
  try {
    check = CheckRootCertificate(pem);
  } catch (const Error& error) {
    throw Error(file.string() + ": " + error.what());
  }
  if (check.broken_rule.empty()) return check;
  throw Error(file.string() + ": cannot be the device's root: the certificate " + check.broken_rule + "; " +
                  check.remedy,
              kRefused);
}

std::string PaddedRoot(const std::filesystem::path& file) {
  return LoadRoot(file).padded;
}

}  // namespace fwpack
