#ifndef FWVET_TOOLS_FWPACK_TSA_TSA_H
#define FWVET_TOOLS_FWPACK_TSA_TSA_H

#include <filesystem>
#include <string>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"

// Time-stamps over a signature that others made. Every one is checked before it is used.
namespace fwpack {

struct TsaServer {
  std::string url{};          // http or https
  long timeout_seconds = 30;  // for the whole exchange; from 1 to 3600
};

/// Throws Error for another scheme and for a time-out that makes no sense.
void RequireUsable(const TsaServer& server);

/// Asks a server by RFC 3161 over HTTP, with a random nonce and the wish for certificates, and returns the
/// token (DER). `known`: where the server's certificate may be besides the token. Throws Error that names the
/// server: see Post() and CheckedToken().
std::string FetchTimeStamp(const TsaServer& server, const std::string& signature, const EVP_MD* digest,
                           const std::vector<X509*>& known);

/// The token of a file that holds a reply (.tsr) or the token alone, in DER. Throws Error that names the file
/// when it does not cover this signature: see CheckedToken().
std::string LoadTimeStamp(const std::filesystem::path& file, const std::string& signature,
                          const std::vector<X509*>& known);

}  // namespace fwpack

#endif
