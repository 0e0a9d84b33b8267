#include "tools/fwpack/tsa/tsa.h"

#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/pki.h"
#include "tools/fwpack/timestamp.h"
#include "tools/fwpack/tsa/http_post.h"
#include "tools/fwpack/tsa/token_check.h"

namespace fwpack {
namespace {

constexpr long kMaxTimeout = 3600;
// A token with two certificates of the largest size that the device takes has a fraction of this.
constexpr std::size_t kMaxReply = 128U << 10U;

}  // namespace

void RequireUsable(const TsaServer& server) {
  (void)ShownUrl(server.url);
  if (server.timeout_seconds < 1 || server.timeout_seconds > kMaxTimeout) {
    throw Error("--tsa-timeout: is not from 1 to " + std::to_string(kMaxTimeout) + " seconds");
  }
}

std::string FetchTimeStamp(const TsaServer& server, const std::string& signature, const EVP_MD* digest,
                           const std::vector<X509*>& known) {
  RequireUsable(server);
  const IntegerPtr nonce = RandomSerial();
  const std::string reply = Post({.url = server.url,
                                  .content_type = "application/timestamp-query",
                                  .body = MakeTimeStampRequest(digest, signature, nonce.get()),
                                  .wanted_type = "application/timestamp-reply",
                                  .max_reply = kMaxReply,
                                  .timeout_seconds = server.timeout_seconds});
  return CheckedToken(reply, {.origin = ShownUrl(server.url),
                              .stamped = signature,
                              .digest = digest,
                              .nonce = nonce.get(),
                              .known = known});
}

std::string LoadTimeStamp(const std::filesystem::path& file, const std::string& signature,
                          const std::vector<X509*>& known) {
  return CheckedToken(ReadSmallFile(file, kMaxReply),
                      {.origin = file.string(), .stamped = signature, .known = known, .may_be_bare = true});
}

}  // namespace fwpack
