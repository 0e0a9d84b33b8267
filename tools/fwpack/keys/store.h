#ifndef FWVET_TOOLS_FWPACK_KEYS_STORE_H
#define FWVET_TOOLS_FWPACK_KEYS_STORE_H

#include <memory>
#include <string>

#include "tools/fwpack/keys/passphrase.h"
#include "tools/fwpack/openssl_ptr.h"

struct ui_method_st;

// Keys and certificates by URI, from whatever provider of OpenSSL answers for its scheme.
namespace fwpack {

using UiMethodPtr = std::unique_ptr<ui_method_st, void (*)(ui_method_st*)>;

/// The way in which OpenSSL asks a PassphraseReader, which goes with it as its data. Throws Error when there
/// is no memory.
UiMethodPtr AskReader();

/// The first private key or certificate at `uri`; null when there is none, with OpenSSL's reasons left in its
/// error queue. A failure of the reader is thrown again.
KeyPtr LoadStoredKey(const std::string& uri, PassphraseReader& reader);
CertPtr LoadStoredCert(const std::string& uri, PassphraseReader& reader);

}  // namespace fwpack

#endif
