#include "tools/fwpack/keys/store.h"

#include <openssl/pem.h>
#include <openssl/store.h>
#include <openssl/ui.h>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

using InfoPtr = OpenSslPtr<OSSL_STORE_INFO, OSSL_STORE_INFO_free>;
using StorePtr = OpenSslPtr<OSSL_STORE_CTX, OSSL_STORE_close>;

// More objects than any URI that names one can mean; a store that never ends is left then.
constexpr int kMaxObjects = 1000;

template <class Pointer, class Get>
Pointer LoadFirst(const std::string& uri, PassphraseReader& reader, int kind, Get get) {
  const UiMethodPtr ask = AskReader();
  const StorePtr store(OSSL_STORE_open(uri.c_str(), ask.get(), &reader, nullptr, nullptr));
  Pointer found;
  if (store != nullptr && OSSL_STORE_expect(store.get(), kind) == 1) {
    for (int i = 0; i < kMaxObjects && found == nullptr && OSSL_STORE_eof(store.get()) == 0; ++i) {
      const InfoPtr info(OSSL_STORE_load(store.get()));
      if (info != nullptr && OSSL_STORE_INFO_get_type(info.get()) == kind) found.reset(get(info.get()));
    }
  }
  if (found == nullptr) reader.RethrowFailure();
  return found;
}

}  // namespace

UiMethodPtr AskReader() {
  UiMethodPtr ask(UI_UTIL_wrap_read_pem_callback(FillPassphrase, 0), UI_destroy_method);
  RequireOpenSsl(ask != nullptr, "ask for a passphrase");
  return ask;
}

KeyPtr LoadStoredKey(const std::string& uri, PassphraseReader& reader) {
  return LoadFirst<KeyPtr>(uri, reader, OSSL_STORE_INFO_PKEY, OSSL_STORE_INFO_get1_PKEY);
}

CertPtr LoadStoredCert(const std::string& uri, PassphraseReader& reader) {
  return LoadFirst<CertPtr>(uri, reader, OSSL_STORE_INFO_CERT, OSSL_STORE_INFO_get1_CERT);
}

}  // namespace fwpack
