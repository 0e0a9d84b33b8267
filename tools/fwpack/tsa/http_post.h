#ifndef FWVET_TOOLS_FWPACK_TSA_HTTP_POST_H
#define FWVET_TOOLS_FWPACK_TSA_HTTP_POST_H

#include <cstddef>
#include <string>

namespace fwpack {

struct HttpPost {
  std::string url{};
  std::string content_type{};
  std::string body{};
  std::string wanted_type{};  // that the reply must have
  std::size_t max_reply = 0;  // bytes
  long timeout_seconds = 0;   // for the whole exchange
};

/// The URL without user name, password, query and fragment, in which secrets may be, as messages show it.
/// Throws Error unless it is one of http or https.
std::string ShownUrl(const std::string& url);

/// Posts and returns the body of the reply. Follows no redirection, so that the request goes where its user
/// said and nowhere else. Throws Error that names the URL: another scheme, no connection, time-out, a status
/// other than 200, another content type, too long a reply.
std::string Post(const HttpPost& post);

}  // namespace fwpack

#endif
