#include "tools/fwpack/sign.h"

#include <openssl/err.h>

#include <cstdint>
#include <fstream>
#include <limits>
#include <system_error>
#include <utility>

#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"
#include "tools/fwpack/tail.h"
#include "tools/fwpack/timestamp.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPieceSize = 1U << 20U;

// The device computes offsets in 32 bits.
constexpr std::uint64_t kMaxPackage = std::numeric_limits<std::uint32_t>::max();

struct Identity {
  CertPtr cert{};
  KeyPtr key{};
};

Identity LoadIdentity(const fs::path& cert_file, const fs::path& key_file) {
  Identity identity{LoadCert(cert_file), LoadKey(key_file)};
  if (EVP_PKEY_get_base_id(identity.key.get()) != EVP_PKEY_RSA) {
    throw Error(key_file.string() + ": is no RSA key; the device knows no other kind");
  }
  const bool fits = X509_check_private_key(identity.cert.get(), identity.key.get()) == 1;
  ERR_clear_error();
  if (!fits) throw Error(key_file.string() + ": is not the key of the certificate in " + cert_file.string());
  return identity;
}

std::vector<CertPtr> LoadAllCerts(const std::vector<fs::path>& files) {
  std::vector<CertPtr> all;
  for (const fs::path& file : files) {
    for (CertPtr& cert : LoadCerts(file)) all.push_back(std::move(cert));
  }
  return all;
}

// The issuer's certificate when a message should carry it: the device has the root and takes none from a
// message.
X509* FindCarriedIssuer(X509* cert, const std::vector<CertPtr>& candidates) {
  for (const CertPtr& candidate : candidates) {
    if (!IsSelfIssued(candidate.get()) && IsIssuedBy(cert, candidate.get())) return candidate.get();
  }
  return nullptr;
}

std::string LoadBundle(const fs::path& file) {
  std::string bundle = ReadSmallFile(file);
  if (ParseCrl(bundle) == nullptr) throw Error(file.string() + ": holds no CRL");
  return bundle;
}

class Signing {
 public:
  explicit Signing(const SignOptions& options)
      : options_(options),
        time_(options.time ? *options.time : Now()),
        digest_(DigestNamed(options.digest)),
        signer_(LoadIdentity(options.signer_cert, options.signer_key)),
        tsa_(LoadIdentity(options.tsa_cert, options.tsa_key)),
        cas_(LoadAllCerts(options.ca)),
        bundle_(LoadBundle(options.crl)),
        signature_(signer_.cert.get(), signer_.key.get(), digest_, time_) {
    signature_.AddCertificate(signer_.cert.get());
    if (X509* issuer = FindCarriedIssuer(signer_.cert.get(), cas_)) signature_.AddCertificate(issuer);
  }

  void Write(OutputFile& out) {
    std::uint64_t size = CopyContent(out);
    const std::string trailer = Trailer();
    size += trailer.size();
    if (size > kMaxPackage) {
      throw Error(options_.content.string() +
                  ": makes a package beyond the 4 GiB that the device can address");
    }
    out.Write(trailer);
  }

 private:
  // One pass feeds both the signature and the package, so that what is signed is what is written.
  std::uint64_t CopyContent(OutputFile& out) {
    std::ifstream in(options_.content, std::ios::binary);
    if (!in) throw Error(options_.content.string() + ": cannot be opened");
    std::string piece(kPieceSize, '\0');
    std::uint64_t size = 0;
    while (in) {
      in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
      const std::string_view got(piece.data(), static_cast<std::size_t>(in.gcount()));
      if (got.empty()) break;
      size += got.size();
      if (size > kMaxPackage) break;
      signature_.Update(got);
      out.Write(got);
    }
    if (in.bad()) throw Error(options_.content.string() + ": cannot be read");
    if (size == 0) throw Error(options_.content.string() + ": is empty; the device refuses empty content");
    return size;
  }

  std::string Trailer() {
    TimeStamper stamper{.cert = tsa_.cert.get(), .key = tsa_.key.get(), .chain = {}, .digest = digest_};
    if (X509* issuer = FindCarriedIssuer(tsa_.cert.get(), cas_)) stamper.chain.push_back(issuer);
    signature_.AddTimeStamp(MakeTimeStampToken(stamper, signature_.Sign(), time_));
    return MakeBlock(signature_.Encode(options_.form), time_) + MakeBlock(bundle_, time_) +
           std::string(kEndPadSize, '\0');
  }

  const SignOptions& options_;
  UtcTime time_;
  const EVP_MD* digest_;
  Identity signer_;
  Identity tsa_;
  std::vector<CertPtr> cas_;
  std::string bundle_;
  DetachedSignature signature_;
};

}  // namespace

void SignPackage(const SignOptions& options) {
  std::error_code absent;
  if (fs::equivalent(options.content, options.package, absent)) {
    throw Error(options.package.string() + ": is the content itself");
  }
  Signing signing(options);
  OutputFile out(options.package);
  signing.Write(out);
  out.Commit();
}

}  // namespace fwpack
