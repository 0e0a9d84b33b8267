#include "tools/fwpack/keys/passphrase.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

// A buffer that holds a passphrase for a while.
struct WipedBuffer {
  std::array<char, Secret::kMaxLength + 2> bytes{};  // one more than fits, to tell what is too long
  WipedBuffer() = default;
  ~WipedBuffer() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
  WipedBuffer(const WipedBuffer&) = delete;
  WipedBuffer& operator=(const WipedBuffer&) = delete;
};

class OpenedFile {
 public:
  explicit OpenedFile(const std::filesystem::path& path)
      : path_(path), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0) Fail("cannot be opened");
  }
  ~OpenedFile() {
    if (file_ >= 0) (void)::close(file_);
  }
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  // 0 at the end of the file.
  std::size_t Read(char* into, std::size_t room) const {
    ssize_t got = -1;
    do got = ::read(file_, into, room);
    while (got < 0 && errno == EINTR);
    if (got < 0) Fail("cannot be read");
    return static_cast<std::size_t>(got);
  }

 private:
  [[noreturn]] void Fail(const char* what) const {
    throw Error(path_.string() + ": " + what + ": " + std::strerror(errno));
  }

  const std::filesystem::path& path_;
  int file_;
};

std::string_view FirstLine(std::string_view text) {
  text = text.substr(0, text.find('\n'));
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  return text;
}

}  // namespace

Secret::~Secret() {
  Wipe();
}

void Secret::Wipe() {
  OPENSSL_cleanse(bytes_.data(), bytes_.size());
  length_ = 0;
}

bool Secret::Assign(std::string_view text) {
  Wipe();
  if (text.size() > kMaxLength || text.find('\0') != std::string_view::npos) return false;
  std::copy(text.begin(), text.end(), bytes_.begin());
  length_ = text.size();
  return true;
}

PassphraseReader::PassphraseReader(const PassphraseSource& source, std::string name, std::string kind)
    : source_(source), name_(std::move(name)), kind_(std::move(kind)) {}

const Secret& PassphraseReader::Get() {
  if (unobtainable_ != nullptr) std::rethrow_exception(unobtainable_);
  if (!obtained_) TryToObtain();
  return secret_;
}

int PassphraseReader::Fill(char* buffer, int size) noexcept {
  try {
    const std::string_view text = Get().text();
    if (size < 0 || text.size() >= static_cast<std::size_t>(size)) {
      throw Error(name_ + ": the " + kind_ + " is too long");
    }
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = '\0';
    return static_cast<int>(text.size());
  } catch (...) {
    failure_ = std::current_exception();
    return -1;
  }
}

void PassphraseReader::RethrowFailure() const {
  if (failure_ == nullptr) return;
  ERR_clear_error();
  std::rethrow_exception(failure_);
}

void PassphraseReader::TryToObtain() {
  try {
    Obtain();
  } catch (const Error&) {
    unobtainable_ = std::current_exception();
    throw;
  }
}

void PassphraseReader::Obtain() {
  if (source_.file) {
    FromFile(*source_.file);
  } else if (source_.variable) {
    FromVariable(*source_.variable);
  } else {
    FromTerminal();
  }
}

void PassphraseReader::FromFile(const std::filesystem::path& file) {
  const OpenedFile opened(file);
  WipedBuffer buffer;
  std::size_t length = 0;
  while (length < buffer.bytes.size()) {
    const std::size_t got = opened.Read(buffer.bytes.data() + length, buffer.bytes.size() - length);
    length += got;
    if (got == 0 || std::memchr(buffer.bytes.data(), '\n', length) != nullptr) break;
  }
  Preset(FirstLine({buffer.bytes.data(), length}), file.string() + ": the first line");
}

void PassphraseReader::FromVariable(const std::string& variable) {
  const char* text = std::getenv(variable.c_str());
  if (text == nullptr) {
    throw Error(name_ + ": the environment variable " + variable + ", which should hold the " + kind_ +
                ", is not set");
  }
  Preset(text, "the environment variable " + variable);
}

void PassphraseReader::FromTerminal() {
  if (isatty(STDIN_FILENO) == 0) {
    throw Error(
        name_ + ": needs a " + kind_ +
        "; give it with --passphrase-file or --passphrase-env (--tsa-... for the time stamper), or run at a "
        "terminal");
  }
  WipedBuffer buffer;
  const std::string prompt = "Enter the " + kind_ + " of " + name_ + ": ";
  const int status =
      EVP_read_pw_string(buffer.bytes.data(), static_cast<int>(buffer.bytes.size()), prompt.c_str(), 0);
  ERR_clear_error();
  if (status != 0) throw Error(name_ + ": no " + kind_ + " was entered");
  Preset(buffer.bytes.data(), "what was entered");
}

void PassphraseReader::Preset(std::string_view text, const std::string& origin) {
  if (text.empty()) throw Error(origin + " is empty where the " + kind_ + " of " + name_ + " should be");
  if (!secret_.Assign(text)) {
    throw Error(origin + " is no " + kind_ + ": longer than " + std::to_string(Secret::kMaxLength) +
                " bytes, or with a zero byte");
  }
  obtained_ = true;
}

int FillPassphrase(char* buffer, int size, int /*for_writing*/, void* reader) {
  return static_cast<PassphraseReader*>(reader)->Fill(buffer, size);
}

}  // namespace fwpack
