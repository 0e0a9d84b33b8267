#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/run_tool.h"
#include "tests/verify/bent_messages.h"
#include "tests/verify/faulty_callbacks.h"

// Every allocation, and then every call of every callback, fails once: nothing leaks, nothing is read or
// written that is not there, the context can be used and freed, and no failure makes a bad message good.

namespace {

using der::Bytes;

const Bytes& Message(bool attributes) {
  static const Bytes with = MessageOf(SignerOver(UsualAttributes(Content())));
  static const Bytes without = MessageOf(PlainSigner(Content()));
  return attributes ? with : without;
}

/// An operation on a context that is made ready for it.
struct Operation {
  const char* name;
  std::function<void(VerifyContext&)> prepare{};
  std::function<LUMO_ERROR_CODE(VerifyContext&)> run{};
  std::vector<LUMO_ERROR_CODE> codes{};  // what a failed allocation may end in
  bool repeatable = true;                // after a failure the same call works

  friend void PrintTo(const Operation& row, std::ostream* out) { *out << row.name; }
};

class EveryAllocation : public ::testing::TestWithParam<Operation> {};

TEST_P(EveryAllocation, MayFail) {
  const Operation& operation = GetParam();
  bool failed = true;
  unsigned long n = 0;
  while (failed) {
    FailingAllocator allocator;
    {
      VerifyContext context(allocator.table());
      operation.prepare(context);
      allocator.FailAt(++n);
      const LUMO_ERROR_CODE rc = operation.run(context);
      failed = allocator.failed();
      allocator.FailAt(0);
      if (failed) {
        EXPECT_THAT(operation.codes, ::testing::Contains(rc))
            << "allocation " << n << ": " << lumo_error_name(rc);
      } else {
        EXPECT_EQ(rc, LUMO_OK);
      }
      if (failed && operation.repeatable) {
        EXPECT_EQ(operation.run(context), LUMO_OK) << "after " << n;
      }
    }
    EXPECT_EQ(allocator.live(), 0u) << "allocation " << n;
    ASSERT_LT(n, 1000u);
  }
  EXPECT_GT(n, 1u) << "nothing was allocated";
}

void NotReady(VerifyContext&) {}
void Ready(VerifyContext& context) {
  Equip(context);
}
void Rooted(VerifyContext& context) {
  context.Trust(Maker().root);
}

std::function<LUMO_ERROR_CODE(VerifyContext&)> AddCert(Bytes data) {
  return [data = std::move(data)](VerifyContext& context) { return context.AddCert(data); };
}
std::function<LUMO_ERROR_CODE(VerifyContext&)> AddCrl(Bytes data) {
  return [data = std::move(data)](VerifyContext& context) { return context.AddCrl(data); };
}
std::function<LUMO_ERROR_CODE(VerifyContext&)> Begin(Bytes message) {
  return [message = std::move(message)](VerifyContext& context) {
    const LUMO_ERROR_CODE rc = context.Begin(message);
    const TEV_UINT32 open = context.vrf()->vrf_proc.md_info_list.num();
    EXPECT_EQ(open, rc == LUMO_OK ? 1u : 0u);
    return rc;
  };
}
std::function<LUMO_ERROR_CODE(VerifyContext&)> Whole(Bytes message) {
  return [message = std::move(message)](VerifyContext& context) {
    TEV_INT32 result = -1;
    const LUMO_ERROR_CODE rc = context.Verify(message, Content(), &result);
    EXPECT_EQ(result, rc == LUMO_OK ? 1 : -1);
    return rc;
  };
}
std::function<LUMO_ERROR_CODE(VerifyContext&)> Quick(Bytes message) {
  return [message = std::move(message)](VerifyContext& context) {
    const ScratchDir scratch;
    WriteWholeFile(scratch / "content", Content());
    WriteWholeFile(scratch / "signature", message);
    TEV_INT32 result = -1;
    const LUMO_ERROR_CODE rc = lumo_verify_detach_signature_quick(
        context.handle(), (scratch / "content").c_str(), (scratch / "signature").c_str(), &result);
    EXPECT_EQ(result, rc == LUMO_OK ? 1 : 0);
    return rc;
  };
}
/// What a bundle may lose is a summary or a list of revocations.
LUMO_ERROR_CODE CheckBundle(VerifyContext& context, LUMO_ERROR_CODE rc, LUMO_CRL_BUNDLE_INFO* bundle) {
  if (rc != LUMO_OK) {
    EXPECT_EQ(bundle, nullptr);
    return rc;
  }
  EXPECT_GE(bundle->crl_count, 1);
  EXPECT_LE(bundle->crl_count, 2);
  return lumo_crl_free(context.handle(), bundle);
}
std::function<LUMO_ERROR_CODE(VerifyContext&)> DecodeBundle(Bytes data) {
  return [data = std::move(data)](VerifyContext& context) {
    LUMO_CRL_BUNDLE_INFO* bundle = nullptr;
    const LUMO_ERROR_CODE rc =
        lumo_decode_crl(context.handle(), data.data(), static_cast<TEV_UINT32>(data.size()), &bundle);
    return CheckBundle(context, rc, bundle);
  };
}
std::function<LUMO_ERROR_CODE(VerifyContext&)> DecodeBundleFile(Bytes data) {
  return [data = std::move(data)](VerifyContext& context) {
    const ScratchDir scratch;
    WriteWholeFile(scratch / "bundle", data);
    LUMO_CRL_BUNDLE_INFO* bundle = nullptr;
    const LUMO_ERROR_CODE rc = lumo_decode_crl_file(context.handle(), (scratch / "bundle").c_str(), &bundle);
    return CheckBundle(context, rc, bundle);
  };
}

std::vector<Operation> Operations() {
  const Bytes& root = Maker().root.der;
  const Bytes pem_root = PemOf("CERTIFICATE", root);
  const world::CrlPlan revoking{.by_root = {{.serial = {77}, .date = pki::Utc(2024, 1, 1)}}};
  const Bytes pem_crls = Maker().Crls(revoking);
  world::CrlPlan der_plan = revoking;
  der_plan.as_der = true;
  const Bytes der_crls = Maker().Crls(der_plan);
  const std::vector<LUMO_ERROR_CODE> kMalloc{LUMO_ERR_MALLOC};
  const std::vector<LUMO_ERROR_CODE> kCrl{LUMO_ERR_CRL_DECODE};
  const std::vector<LUMO_ERROR_CODE> kBundle{LUMO_ERR_CRL_DECODE, LUMO_OK};
  const std::vector<LUMO_ERROR_CODE> kBundleFile{LUMO_ERR_MALLOC, LUMO_ERR_CRL_DECODE, LUMO_OK};
  const std::vector<LUMO_ERROR_CODE> kMessage{LUMO_ERR_MALLOC, LUMO_ERR_PKCS7_DECODE};
  return {
      {"AddCertDer", NotReady, AddCert(root), kMalloc},
      {"AddCertPem", NotReady, AddCert(pem_root), kMalloc},
      {"AddCrlDer", Rooted, AddCrl(der_crls), kCrl},
      {"AddCrlPem", Rooted, AddCrl(pem_crls), kCrl},
      {"BeginDer", Ready, Begin(Message(true)), kMessage},
      {"BeginPem", Ready, Begin(PemOf("CMS", Message(true))), kMessage},
      {"BeginPlainDer", Ready, Begin(Message(false)), kMessage},
      {"BeginPlainPem", Ready, Begin(PemOf("PKCS7", Message(false))), kMessage},
      {"WholeVerification", Ready, Whole(Message(true)), kMessage},
      {"WholePlainVerification", Ready, Whole(Message(false)), kMessage},
      {"QuickDer", Ready, Quick(Message(true)), kMessage, false},
      {"QuickPem", Ready, Quick(PemOf("CMS", Message(true))), kMessage, false},
      {"DecodeBundleDer", Rooted, DecodeBundle(der_crls), kBundle},
      {"DecodeBundlePem", Rooted, DecodeBundle(pem_crls), kBundle},
      {"DecodeBundleFile", Rooted, DecodeBundleFile(pem_crls), kBundleFile},
  };
}

INSTANTIATE_TEST_SUITE_P(Of, EveryAllocation, ::testing::ValuesIn(Operations()), NameOfRow());

TEST(EveryAllocationOf, ACreationMayFail) {
  const unsigned long allocations = ForEachFailedAllocation([](FailingAllocator& allocator) {
    const LUMO_CTX_CREATE_PARAMS params = allocator.params();
    LUMO_VRF_CTX ctx = &allocator;
    const LUMO_ERROR_CODE rc = lumo_verify_create_ctx(&ctx, &params);
    if (allocator.failed()) {
      EXPECT_EQ(rc, LUMO_ERR_MALLOC);
      EXPECT_EQ(ctx, nullptr);
    } else {
      EXPECT_EQ(rc, LUMO_OK);
      EXPECT_EQ(lumo_vrf_ctx_free(ctx), LUMO_OK);
    }
    EXPECT_EQ(allocator.live(), 0u);
  });
  EXPECT_EQ(allocations, 2u);
}

// Callbacks.

/// What a whole check is given.
struct Material {
  Bytes crls{};
  Bytes signature{};
  Bytes content{};
};

/// From nothing to the verdict, over files and memory. True only when every step worked and said yes.
bool WholeRoad(const LUMO_CALLBACK_FUNCS& table, const Material& material, const ScratchDir& scratch) {
  const LUMO_CTX_CREATE_PARAMS params = ParamsOf(table);
  LUMO_VRF_CTX ctx = nullptr;
  if (lumo_verify_create_ctx(&ctx, &params) != LUMO_OK) return false;
  const Bytes root = PemOf("CERTIFICATE", Maker().root.der);
  TEV_INT32 result = 0;
  const bool accepted =
      lumo_verify_add_cert(ctx, root.data(), static_cast<TEV_UINT32>(root.size())) == LUMO_OK &&
      lumo_verify_add_crl(ctx, material.crls.data(), static_cast<TEV_UINT32>(material.crls.size())) ==
          LUMO_OK &&
      lumo_verify_detach_signature_quick(ctx, (scratch / "content").c_str(), (scratch / "signature").c_str(),
                                         &result) == LUMO_OK &&
      result == 1;
  EXPECT_EQ(lumo_vrf_ctx_free(ctx), LUMO_OK);
  return accepted;
}

/// Runs the road with each call of each slot failing; hands every outcome to `look`.
template <class Look>
void FailEveryCall(const Material& material, Look look) {
  const ScratchDir scratch;
  WriteWholeFile(scratch / "content", material.content);
  WriteWholeFile(scratch / "signature", material.signature);
  for (int i = 0; i < static_cast<int>(Slot::kSlots); ++i) {
    const auto slot = static_cast<Slot>(i);
    bool failed = true;
    for (unsigned long n = 1; failed; ++n) {
      FaultyCallbacks callbacks;
      callbacks.FailNth(slot, n);
      const bool accepted = WholeRoad(callbacks.table(), material, scratch);
      failed = callbacks.failed();
      EXPECT_EQ(callbacks.live(), 0) << NameOf(slot) << " " << n;
      look(slot, n, failed, accepted);
      ASSERT_LT(n, 3000u) << NameOf(slot);
    }
  }
}

/// Slots whose failure reads as "not found", "different" or "the end", which may be true; and the close of a
/// file of which all was read.
bool CannotTellFailure(Slot slot) {
  return slot == Slot::kStrncmp || slot == Slot::kStrstr || slot == Slot::kFread || slot == Slot::kFclose;
}

TEST(EveryCallback, ThatFailsOnTheRoadOfAGoodMessageEndsInARefusal) {
  for (const bool attributes : {true, false}) {
    const Material good{
        .crls = Maker().Crls({}), .signature = PemOf("CMS", Message(attributes)), .content = Content()};
    FailEveryCall(good, [](Slot slot, unsigned long n, bool failed, bool accepted) {
      if (failed && CannotTellFailure(slot)) return;
      EXPECT_EQ(accepted, !failed) << NameOf(slot) << " " << n;
    });
  }
}

void ExpectNeverAccepted(const Material& bad) {
  FailEveryCall(bad, [](Slot slot, unsigned long n, bool, bool accepted) {
    EXPECT_FALSE(accepted) << NameOf(slot) << " " << n;
  });
}

TEST(EveryCallback, ThatFailsLeavesOtherContentRefused) {
  ExpectNeverAccepted(
      {.crls = Maker().Crls({}), .signature = Message(true), .content = der::FromText("malware")});
  ExpectNeverAccepted(
      {.crls = Maker().Crls({}), .signature = Message(false), .content = der::FromText("malware")});
}

TEST(EveryCallback, ThatFailsLeavesARevokedSignerRefused) {
  const world::CrlPlan revoked{.by_ca = {world::Revoke(Maker().signer, pki::Utc(2024, 1, 1))}};
  ExpectNeverAccepted({.crls = Maker().Crls(revoked), .signature = Message(true), .content = Content()});
}

TEST(EveryCallback, ThatFailsLeavesARevokedCaRefused) {
  const world::CrlPlan revoked{.by_root = {world::Revoke(Maker().ca, pki::Utc(2024, 1, 1))}};
  ExpectNeverAccepted({.crls = Maker().Crls(revoked), .signature = Message(true), .content = Content()});
}

TEST(EveryCallback, ThatFailsLeavesAMovedTimestampRefused) {
  const Bytes moved = MessageWith(SignerOver(UsualAttributes(Content())), TokenOver(Content()));
  ExpectNeverAccepted({.crls = Maker().Crls({}), .signature = moved, .content = Content()});
}

TEST(EveryCallback, ThatFailsWhileABundleIsReadLeavesACleanSummaryOrNone) {
  const Bytes data = Maker().Crls({});
  for (int i = 0; i < static_cast<int>(Slot::kSlots); ++i) {
    bool failed = true;
    for (unsigned long n = 1; failed; ++n) {
      FaultyCallbacks callbacks;
      {
        VerifyContext context(callbacks.table());
        context.Trust(Maker().root);
        callbacks.FailNth(static_cast<Slot>(i), n);
        LUMO_CRL_BUNDLE_INFO* bundle = nullptr;
        const LUMO_ERROR_CODE rc =
            lumo_decode_crl(context.handle(), data.data(), static_cast<TEV_UINT32>(data.size()), &bundle);
        failed = callbacks.failed();
        EXPECT_EQ(rc == LUMO_OK, bundle != nullptr);
        if (bundle != nullptr) {
          EXPECT_EQ(lumo_crl_free(context.handle(), bundle), LUMO_OK);
        }
      }
      EXPECT_EQ(callbacks.live(), 0) << NameOf(static_cast<Slot>(i)) << " " << n;
      ASSERT_LT(n, 3000u);
    }
  }
}

}  // namespace
