#include "tests/verify/faulty_callbacks.h"

#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>

#include "platform/lumo_plt_impl.h"

namespace {

constexpr auto kSlotCount = static_cast<std::size_t>(Slot::kSlots);

struct State {
  bool in_use = false;
  std::array<unsigned long, kSlotCount> calls{};
  Slot failing = Slot::kSlots;
  unsigned long until_failure = 0;
  bool failed = false;
  long live = 0;
  unsigned long long searched = 0;
  std::map<TEV_UINT32, unsigned long> md_updates{};
  std::optional<TEV_UINT64> file_size{};
  LUMO_CALLBACK_FUNCS real{};
};

State& TheState() {
  static State state;
  return state;
}

LUMO_SYS_FUNCS& System() {
  return TheState().real.plt_funcs.sys_funcs;
}
LUMO_MD_FUNCS& Digest() {
  return TheState().real.md_funcs;
}
LUMO_CRYPTO_FUNCS& Rsa() {
  return TheState().real.crypt_funcs;
}

/// Counts a call; true when this is the one that fails.
bool Fails(Slot slot) {
  State& state = TheState();
  ++state.calls[static_cast<std::size_t>(slot)];
  if (slot != state.failing || state.until_failure == 0 || --state.until_failure != 0) return false;
  state.failed = true;
  return true;
}

/// Counts a resource that was taken.
LUMO_ERROR_CODE Taken(LUMO_ERROR_CODE rc) {
  if (rc == LUMO_OK) ++TheState().live;
  return rc;
}

LUMO_ERROR_CODE Malloc(void** block, TEV_SIZE_T size) {
  if (Fails(Slot::kMalloc)) return LUMO_ERR_MALLOC;
  return Taken(System().mem_funcs.malloc(block, size));
}
void Free(void* block) {
  --TheState().live;
  System().mem_funcs.free(block);
}
LUMO_ERROR_CODE Memset(void* dest, TEV_SIZE_T max, TEV_INT c, TEV_SIZE_T count) {
  return Fails(Slot::kMemset) ? LUMO_ERR_SYS_MEMSET : System().mem_funcs.memset_s(dest, max, c, count);
}
LUMO_ERROR_CODE Memcpy(void* dest, TEV_SIZE_T max, const void* src, TEV_SIZE_T count) {
  return Fails(Slot::kMemcpy) ? LUMO_ERR_MEMCPY : System().mem_funcs.memcpy_s(dest, max, src, count);
}
TEV_INT Strncmp(const TEV_CHAR* left, const TEV_CHAR* right, TEV_SIZE_T n) {
  return Fails(Slot::kStrncmp) ? 1 : System().str_funcs.pf_strncmp(left, right, n);
}
/// Looks at one character after the other, so that what a search costs is what it counts.
const TEV_CHAR* Strstr(const TEV_CHAR* haystack, const TEV_CHAR* needle) {
  if (Fails(Slot::kStrstr)) return nullptr;
  const std::size_t length = std::strlen(needle);
  for (; *haystack != 0; ++haystack) {
    ++TheState().searched;
    if (*haystack == *needle && std::strncmp(haystack, needle, length) == 0) return haystack;
  }
  return nullptr;
}
TEV_UINT32 Strlen(const TEV_CHAR* text) {
  return Fails(Slot::kStrlen) ? 0 : System().str_funcs.pf_strlen(text);
}
LUMO_ERROR_CODE Strcpy(TEV_CHAR* dest, TEV_SIZE_T max, const TEV_CHAR* src) {
  return Fails(Slot::kStrcpy) ? LUMO_ERR_SYS_STR : System().str_funcs.pf_strcpy_s(dest, max, src);
}
LUMO_ERROR_CODE Strcat(TEV_CHAR* dest, TEV_SIZE_T max, const TEV_CHAR* src) {
  return Fails(Slot::kStrcat) ? LUMO_ERR_SYS_STR : System().str_funcs.pf_strcat_s(dest, max, src);
}

TEV_FILE_HANDLE Fopen(const TEV_CHAR* path, const TEV_CHAR* mode) {
  if (Fails(Slot::kFopen)) return nullptr;
  TEV_FILE_HANDLE file = System().file_funcs.fopen(path, mode);
  if (file != nullptr) ++TheState().live;
  return file;
}
TEV_SIZE_T Fread(void* buffer, TEV_SIZE_T size, TEV_FILE_HANDLE file) {
  return Fails(Slot::kFread) ? 0 : System().file_funcs.fread(buffer, size, file);
}
LUMO_ERROR_CODE Fclose(TEV_FILE_HANDLE file) {
  --TheState().live;
  const LUMO_ERROR_CODE rc = System().file_funcs.fclose(file);
  return Fails(Slot::kFclose) ? LUMO_ERR_FILE_CLOSE : rc;
}
TEV_UINT64 FileSize(TEV_FILE_HANDLE file) {
  if (Fails(Slot::kFileSize)) return 0;
  return TheState().file_size ? *TheState().file_size : System().file_funcs.get_file_size(file);
}

LUMO_ERROR_CODE MdCreate(LUMO_CRYPTO_MD_CTX* ctx) {
  return Fails(Slot::kMdCreate) ? kForeignCode : Taken(Digest().lumo_md_ctx_create(ctx));
}
LUMO_ERROR_CODE MdInit(LUMO_CRYPTO_MD_CTX ctx, TEV_UINT32 hash_id) {
  return Fails(Slot::kMdInit) ? kForeignCode : Digest().lumo_md_init(ctx, hash_id);
}
LUMO_ERROR_CODE MdUpdate(LUMO_CRYPTO_MD_CTX ctx, const TEV_BYTE* data, TEV_UINT32 length) {
  ++TheState().md_updates[length];
  return Fails(Slot::kMdUpdate) ? kForeignCode : Digest().lumo_md_update(ctx, data, length);
}
LUMO_ERROR_CODE MdFinal(LUMO_CRYPTO_MD_CTX ctx, TEV_BYTE* digest, TEV_UINT32* length) {
  return Fails(Slot::kMdFinal) ? kForeignCode : Digest().lumo_md_final(ctx, digest, length);
}
void MdDestroy(LUMO_CRYPTO_MD_CTX ctx) {
  --TheState().live;
  Digest().lumo_md_ctx_destory(ctx);
}

LUMO_ERROR_CODE RsaCreate(LUMO_CRYPTO_VRF_CTX* ctx) {
  return Fails(Slot::kRsaCreate) ? kForeignCode : Taken(Rsa().lumo_verify_ctx_create(ctx));
}
LUMO_ERROR_CODE RsaInit(LUMO_CRYPTO_VRF_CTX ctx, const LUMO_BIGINT* e, const LUMO_BIGINT* n,
                        TEV_UINT32 hash_id) {
  return Fails(Slot::kRsaInit) ? kForeignCode : Rsa().lumo_verify_init(ctx, e, n, hash_id);
}
LUMO_ERROR_CODE RsaUpdate(LUMO_CRYPTO_VRF_CTX ctx, const TEV_BYTE* data, TEV_UINT32 length) {
  return Fails(Slot::kRsaUpdate) ? kForeignCode : Rsa().lumo_verify_update(ctx, data, length);
}
LUMO_ERROR_CODE RsaFinal(LUMO_CRYPTO_VRF_CTX ctx, const TEV_BYTE* signature, TEV_UINT32 length,
                         TEV_INT* result) {
  return Fails(Slot::kRsaFinal) ? kForeignCode : Rsa().lumo_verify_final(ctx, signature, length, result);
}
void RsaDestroy(LUMO_CRYPTO_VRF_CTX ctx) {
  --TheState().live;
  Rsa().lumo_verify_ctx_destory(ctx);
}

}  // namespace

const char* NameOf(Slot slot) {
  constexpr std::array<const char*, kSlotCount> kNames{
      "malloc",      "memset_s", "memcpy_s",   "pf_strncmp", "pf_strstr",     "pf_strlen", "pf_strcpy_s",
      "pf_strcat_s", "fopen",    "fread",      "fclose",     "get_file_size", "md_create", "md_init",
      "md_update",   "md_final", "rsa_create", "rsa_init",   "rsa_update",    "rsa_final"};
  return kNames.at(static_cast<std::size_t>(slot));
}

FaultyCallbacks::FaultyCallbacks() {
  State& state = TheState();
  if (state.in_use) throw std::logic_error("there is one faulty table at a time");
  state = State{};
  state.in_use = true;
  if (lumo_set_callback_funcs(&state.real) != 0) throw std::logic_error("the platform fills no table");
}

FaultyCallbacks::~FaultyCallbacks() {
  TheState().in_use = false;
}

LUMO_CALLBACK_FUNCS FaultyCallbacks::table() const {
  LUMO_CALLBACK_FUNCS table = TheState().real;
  LUMO_SYS_FUNCS& system = table.plt_funcs.sys_funcs;
  system.mem_funcs.malloc = Malloc;
  system.mem_funcs.free = Free;
  system.mem_funcs.memset_s = Memset;
  system.mem_funcs.memcpy_s = Memcpy;
  system.str_funcs.pf_strncmp = Strncmp;
  system.str_funcs.pf_strstr = Strstr;
  system.str_funcs.pf_strlen = Strlen;
  system.str_funcs.pf_strcpy_s = Strcpy;
  system.str_funcs.pf_strcat_s = Strcat;
  system.file_funcs = {.fopen = Fopen, .fread = Fread, .fclose = Fclose, .get_file_size = FileSize};
  table.md_funcs = {.st_size = sizeof(LUMO_MD_FUNCS),
                    .lumo_md_ctx_create = MdCreate,
                    .lumo_md_init = MdInit,
                    .lumo_md_update = MdUpdate,
                    .lumo_md_final = MdFinal,
                    .lumo_md_ctx_destory = MdDestroy};
  table.crypt_funcs = {.st_size = sizeof(LUMO_CRYPTO_FUNCS),
                       .lumo_verify_ctx_create = RsaCreate,
                       .lumo_verify_init = RsaInit,
                       .lumo_verify_update = RsaUpdate,
                       .lumo_verify_final = RsaFinal,
                       .lumo_verify_ctx_destory = RsaDestroy};
  return table;
}

void FaultyCallbacks::FailNth(Slot slot, unsigned long nth) {
  TheState().failing = slot;
  TheState().until_failure = nth;
  TheState().failed = false;
}

bool FaultyCallbacks::failed() const {
  return TheState().failed;
}

unsigned long FaultyCallbacks::calls(Slot slot) const {
  return TheState().calls[static_cast<std::size_t>(slot)];
}

void FaultyCallbacks::Restart() {
  TheState().calls.fill(0);
  TheState().searched = 0;
  TheState().md_updates.clear();
}

long FaultyCallbacks::live() const {
  return TheState().live;
}

unsigned long long FaultyCallbacks::searched() const {
  return TheState().searched;
}

unsigned long FaultyCallbacks::md_updates_of(TEV_UINT32 length) const {
  const auto found = TheState().md_updates.find(length);
  return found == TheState().md_updates.end() ? 0 : found->second;
}

void FaultyCallbacks::LieAboutFileSize(TEV_UINT64 size) {
  TheState().file_size = size;
}
