#ifndef FWVET_TOOLS_FWPACK_KEYS_PASSPHRASE_H
#define FWVET_TOOLS_FWPACK_KEYS_PASSPHRASE_H

#include <array>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "tools/fwpack/keys/identity.h"

// Passphrases and PINs: never copied, and wiped from memory when they go.
namespace fwpack {

/// A passphrase or PIN of at most kMaxLength bytes, with a terminator behind it.
class Secret {
 public:
  static constexpr std::size_t kMaxLength = 1023;

  Secret() = default;
  ~Secret();
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;

  /// Takes over `text`; false, and nothing is kept, when it is longer than kMaxLength or holds a zero byte.
  bool Assign(std::string_view text);
  [[nodiscard]] const char* c_str() const { return bytes_.data(); }
  [[nodiscard]] std::string_view text() const { return {bytes_.data(), length_}; }

 private:
  void Wipe();

  std::array<char, kMaxLength + 1> bytes_{};
  std::size_t length_ = 0;
};

/// Gets a passphrase when it is first wanted, and then keeps it. OpenSSL asks once more for each kind of key
/// that it tries, so a failure is kept as well: nobody who gave up is asked again. `name` is what the
/// passphrase opens, for messages and the prompt; `kind` is "passphrase" or "PIN".
class PassphraseReader {
 public:
  PassphraseReader(const PassphraseSource& source, std::string name, std::string kind = "passphrase");

  /// Makes `text` what Get returns. Throws Error for an empty or too long one.
  void Preset(std::string_view text, const std::string& origin);
  /// Throws Error: an unreadable file, an unset variable, an empty or too long passphrase, no terminal to ask
  /// at.
  const Secret& Get();
  /// For OpenSSL's callbacks, through which nothing may be thrown: puts the passphrase into `buffer` and
  /// returns its length, -1 when there is none; RethrowFailure then says why.
  int Fill(char* buffer, int size) noexcept;
  void RethrowFailure() const;
  /// Whether a passphrase was wanted and could be had.
  [[nodiscard]] bool was_used() const { return obtained_; }

 private:
  void TryToObtain();
  void Obtain();
  void FromFile(const std::filesystem::path& file);
  void FromVariable(const std::string& variable);
  void FromTerminal();

  PassphraseSource source_;
  std::string name_;
  std::string kind_;
  Secret secret_{};
  bool obtained_ = false;
  std::exception_ptr unobtainable_{};
  std::exception_ptr failure_{};
};

/// The same as a callback of OpenSSL's type; `reader` is a PassphraseReader.
int FillPassphrase(char* buffer, int size, int for_writing, void* reader);

}  // namespace fwpack

#endif
