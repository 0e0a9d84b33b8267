#include "tools/fwpack/check/replay.h"

#include <array>
#include <cstdio>
#include <exception>
#include <memory>
#include <string_view>

#include "app/root_cert.h"
#include "platform/lumo_plt_impl.h"
#include "tools/fwpack/check/package_blocks.h"
#include "tools/fwpack/check/signature_replay.h"
#include "tools/fwpack/check/steps.h"
#include "tools/fwpack/device/isolated.h"
#include "tools/fwpack/error.h"
#include "verify/lumo_ctx.h"
#include "verify/lumo_load.h"

namespace fwpack {
namespace {

constexpr int kFound = 0;
constexpr int kNothing = 1;
constexpr int kFailed = 2;

struct FreeContext {
  void operator()(void* context) const { (void)lumo_vrf_ctx_free(context); }
};
using ContextPtr = std::unique_ptr<void, FreeContext>;

const TEV_BYTE* Octets(std::string_view text) {
  return reinterpret_cast<const TEV_BYTE*>(text.data());
}

TEV_UINT32 Size(std::string_view text) {
  return static_cast<TEV_UINT32>(text.size());
}

// A context that trusts the root in use; null when it cannot be made.
ContextPtr MakeContext() {
  LUMO_CTX_CREATE_PARAMS params{};
  params.st_size = sizeof params;
  if (lumo_set_callback_funcs(&params.callback_funcs) != 0) return nullptr;
  LUMO_VRF_CTX handle = nullptr;
  if (lumo_verify_create_ctx(&handle, &params) != LUMO_OK) return nullptr;
  ContextPtr context(handle);
  std::array<unsigned char, kRootCertSize> root{};
  JoinRootCert(root.data());
  return lumo_verify_add_cert(handle, root.data(), kRootCertSize) == LUMO_OK ? std::move(context) : nullptr;
}

std::string CrlDetail(LUMO_VRF_CTX context, std::string_view crl) {
  if (crl.empty()) return "the CRL block holds no bytes";
  return lumo_holds_too_many_crls(lumo_vrf_of(context), Octets(crl), Size(crl))
             ? "it holds more than 16 CRLs"
             : "nothing in it can be decoded as a CRL, or there are more than 16 certificates or PEM blocks";
}

std::optional<Culprit> Replay(const ReplayInput& input, const PackagePayloads& payloads,
                              LUMO_VRF_CTX context) {
  const std::string& crl = payloads.crl;
  if (auto rc = lumo_verify_add_crl(context, Octets(crl), Size(crl)); rc != LUMO_OK) {
    return Culprit{
        .step = steps::kLoadCrls, .where = "CRL block", .code = rc, .detail = CrlDetail(context, crl)};
  }
  const std::string& signature = payloads.signature;
  std::optional<Culprit> culprit = ReplaySignature(lumo_vrf_of(context), signature);
  if (culprit || !input.device_crl) return culprit;
  const std::string& stored = *input.device_crl;
  // As on the device, a CRL that cannot be added is passed over.
  (void)lumo_verify_add_crl(context, Octets(stored), Size(stored));
  return ReplaySignature(lumo_vrf_of(context), signature);
}

// Each field ends in a zero byte; none of them holds one.
void Print(const Culprit& culprit) {
  for (const std::string& field :
       {culprit.step, culprit.where, std::to_string(culprit.code), culprit.detail}) {
    (void)std::fwrite(field.c_str(), 1, field.size() + 1, stdout);
  }
}

int RunReplay(const ReplayInput& input) {
  try {
    const std::optional<PackagePayloads> payloads = ReadPayloads(input.package);
    const ContextPtr context = MakeContext();
    if (!payloads || !context) return kFailed;
    const std::optional<Culprit> culprit = Replay(input, *payloads, context.get());
    if (!culprit) return kNothing;
    Print(*culprit);
    return kFound;
  } catch (const std::exception&) {
    return kFailed;
  }
}

std::string TakeField(std::string_view& record) {
  const std::size_t end = record.find('\0');
  if (end == std::string_view::npos) throw Error("the reasons of a refusal cannot be read back");
  std::string field(record.substr(0, end));
  record.remove_prefix(end + 1);
  return field;
}

}  // namespace

std::optional<Culprit> FindCulprit(const ReplayInput& input) {
  const IsolatedRun run = RunIsolated([&input] { return RunReplay(input); });
  if (run.signal != 0 || run.exit_status != kFound) return std::nullopt;
  std::string_view record = run.output;
  Culprit culprit;
  culprit.step = TakeField(record);
  culprit.where = TakeField(record);
  culprit.code = static_cast<LUMO_ERROR_CODE>(std::stoul(TakeField(record)));
  culprit.detail = TakeField(record);
  return culprit;
}

}  // namespace fwpack
