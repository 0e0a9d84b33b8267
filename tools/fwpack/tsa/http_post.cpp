#include "tools/fwpack/tsa/http_post.h"

#include <curl/curl.h>
#include <strings.h>

#include <array>
#include <memory>
#include <string_view>

#include "tools/fwpack/error.h"
#include "tools/fwpack/tsa/shown_text.h"

namespace fwpack {
namespace {

struct FreeCurl {
  void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  void operator()(char* text) const { curl_free(text); }
};
using CurlPtr = std::unique_ptr<CURL, FreeCurl>;
using UrlPtr = std::unique_ptr<CURLU, FreeCurl>;
using ListPtr = std::unique_ptr<curl_slist, FreeCurl>;
using TextPtr = std::unique_ptr<char, FreeCurl>;

// The process-wide part of the HTTP library, made ready once before its first use.
void RequireReady() {
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (ready != CURLE_OK) throw Error("the HTTP library cannot start");
}

std::string PartOf(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return {};
  return TextPtr(text).get();
}

// Takes out of a URL what may be secret and returns the rest, for messages.
std::string WithoutSecrets(CURLU* url) {
  for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_QUERY, CURLUPART_FRAGMENT})
    (void)curl_url_set(url, part, nullptr, 0);
  return ShownText(PartOf(url, CURLUPART_URL));
}

// A relative redirection inherits user name and password of the request, and may repeat its query.
std::string ShownRedirection(const char* url) {
  const UrlPtr parsed(curl_url());
  const bool is_url = parsed != nullptr &&
                      curl_url_set(parsed.get(), CURLUPART_URL, url, CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK;
  return is_url ? WithoutSecrets(parsed.get()) : "another place";
}

struct Reply {
  std::string body{};
  std::size_t limit = 0;
  bool too_long = false;
};

// Called from C: nothing may be thrown. The body has its whole room from the start.
std::size_t Receive(const char* data, std::size_t size, std::size_t count, void* to) {
  Reply& reply = *static_cast<Reply*>(to);
  const std::size_t length = size * count;
  if (length > reply.limit - reply.body.size()) {
    reply.too_long = true;
    return 0;
  }
  reply.body.append(data, length);
  return length;
}

class Exchange {
 public:
  explicit Exchange(const HttpPost& post) : post_(post), shown_(ShownUrl(post.url)) {
    RequireReady();
    curl_.reset(curl_easy_init());
    if (curl_ == nullptr) throw Error("the HTTP library cannot start");
    reply_.limit = post.max_reply;
    reply_.body.reserve(post.max_reply);
  }

  std::string Run() {
    SetHeaders();
    SetBounds();
    Set(CURLOPT_URL, post_.url.c_str());
    Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(post_.body.size()));
    Set(CURLOPT_POSTFIELDS, post_.body.data());
    Set(CURLOPT_WRITEFUNCTION, Receive);
    Set(CURLOPT_WRITEDATA, static_cast<void*>(&reply_));
    Set(CURLOPT_ERRORBUFFER, reason_.data());
    const CURLcode code = curl_easy_perform(curl_.get());
    // A wrong status is said first: what comes with it is seldom a time-stamp.
    if (code == CURLE_OK || code == CURLE_WRITE_ERROR) RequireStatus();
    RequireDone(code);
    RequireType();
    return std::move(reply_.body);
  }

 private:
  template <class Value>
  void Set(CURLoption option, Value value) {
    if (curl_easy_setopt(curl_.get(), option, value) != CURLE_OK) {
      throw Error("the HTTP library lacks something that is needed");
    }
  }

  void AddHeader(const std::string& line) {
    curl_slist* longer = curl_slist_append(headers_.get(), line.c_str());
    if (longer == nullptr) throw Error("out of memory");
    (void)headers_.release();
    headers_.reset(longer);
  }

  void SetHeaders() {
    AddHeader("Content-Type: " + post_.content_type);
    AddHeader("Accept: " + post_.wanted_type);
    AddHeader("Expect:");
    Set(CURLOPT_HTTPHEADER, headers_.get());
    Set(CURLOPT_USERAGENT, "fwpack");
  }

  void SetBounds() {
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_FOLLOWLOCATION, 0L);
    Set(CURLOPT_TIMEOUT, post_.timeout_seconds);
    Set(CURLOPT_CONNECTTIMEOUT, post_.timeout_seconds);
    Set(CURLOPT_NOSIGNAL, 1L);
  }

  [[noreturn]] void Fail(const std::string& what) const { throw Error(shown_ + ": " + what); }

  void RequireDone(CURLcode code) const {
    if (reply_.too_long) {
      Fail("the reply is longer than " + std::to_string(post_.max_reply) +
           " bytes; is this a time-stamp server?");
    }
    if (code == CURLE_OPERATION_TIMEDOUT) {
      Fail("no whole reply within " + std::to_string(post_.timeout_seconds) +
           " seconds; try again or give more time with --tsa-timeout");
    }
    if (code == CURLE_OK) return;
    Fail(ShownText(reason_[0] != '\0' ? reason_.data() : curl_easy_strerror(code)) +
         "; is the server up, and is --tsa-url its address?");
  }

  void RequireStatus() const {
    long status = 0;
    (void)curl_easy_getinfo(curl_.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status == 200) return;
    char* elsewhere = nullptr;
    (void)curl_easy_getinfo(curl_.get(), CURLINFO_REDIRECT_URL, &elsewhere);
    if (elsewhere != nullptr) {
      Fail("answers with HTTP status " + std::to_string(status) + ", a redirection to " +
           ShownRedirection(elsewhere) + ", which is not followed; give the final address");
    }
    Fail("answers with HTTP status " + std::to_string(status) +
         " where 200 is wanted; is --tsa-url the server's whole address, and may you use it?");
  }

  void RequireType() const {
    char* type = nullptr;
    (void)curl_easy_getinfo(curl_.get(), CURLINFO_CONTENT_TYPE, &type);
    std::string_view name = type == nullptr ? "" : type;
    name = name.substr(0, name.find(';'));
    while (name.ends_with(' ')) name.remove_suffix(1);
    if (name.size() == post_.wanted_type.size() &&
        strncasecmp(name.data(), post_.wanted_type.data(), name.size()) == 0) {
      return;
    }
    Fail("answers with content type '" + ShownText(name) + "' where " + post_.wanted_type +
         " is wanted; is this a time-stamp server?");
  }

  const HttpPost& post_;
  std::string shown_;
  CurlPtr curl_{};
  ListPtr headers_{};
  Reply reply_{};
  std::array<char, CURL_ERROR_SIZE> reason_{};
};

}  // namespace

std::string ShownUrl(const std::string& url) {
  const UrlPtr parsed(curl_url());
  if (parsed == nullptr) throw Error("out of memory");
  if (curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
    throw Error("--tsa-url: is no URL; write it like http://tsa.example/path");
  }
  const std::string scheme = PartOf(parsed.get(), CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https") {
    throw Error("--tsa-url: has the scheme '" + ShownText(scheme) + "' where http or https is wanted");
  }
  return WithoutSecrets(parsed.get());
}

std::string Post(const HttpPost& post) {
  return Exchange(post).Run();
}

}  // namespace fwpack
