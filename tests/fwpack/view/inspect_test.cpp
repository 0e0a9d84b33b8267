#include "tools/fwpack/view/inspect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"
#include "tests/support/json_schema.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/view/inspect_json.h"
#include "tools/fwpack/view/inspect_text.h"

namespace {

using der::Bytes;
using fwpack::InspectKind;
using nlohmann::json;
using testing::HasSubstr;
using viewtest::CheckedJson;
using viewtest::Maker;

Bytes PemOf(const std::string& label, const Bytes& der) {
  return der::FromText(pki::Pem(label, der));
}

struct Row {
  const char* name;
  Bytes bytes;
  InspectKind kind;
  int status;
};

class Kinds : public testing::TestWithParam<Row> {
 protected:
  viewtest::Inspector inspector_;
};

TEST_P(Kinds, AreFoundOut) {
  const fwpack::Inspection inspection = inspector_.Inspect(GetParam().bytes);
  EXPECT_STREQ(fwpack::KindName(inspection.kind), fwpack::KindName(GetParam().kind));
  EXPECT_EQ(fwpack::ExitStatusOf(inspection), GetParam().status) << fwpack::InspectText(inspection);
  const json document = CheckedJson(inspection);
  EXPECT_EQ(document["kind"], fwpack::KindName(GetParam().kind));
  EXPECT_EQ(document["size"], GetParam().bytes.size());
  EXPECT_EQ(document["isComplete"], GetParam().status == 0);
}

std::vector<Row> Rows() {
  return {
      {"Package", Maker().Package({}), InspectKind::kPackage, 0},
      {"PackageOfOtherEncodings", Maker().Package({.crl = {.as_der = true}, .pem_signature = true}),
       InspectKind::kPackage, 0},
      {"Tail", package::Tail(200, 100), InspectKind::kTail, 0},
      {"Bundle", Maker().Crls({}), InspectKind::kBundle, 0},
      {"DerBundle", Maker().Crls({.as_der = true}), InspectKind::kBundle, 0},
      {"Crl", pki::MakeCrl(Maker().ca, {}), InspectKind::kBundle, 0},
      {"Cert", Maker().ca.der, InspectKind::kCert, 0},
      {"PemCert", PemOf("CERTIFICATE", Maker().ca.der), InspectKind::kCert, 0},
      {"Signature", Maker().Signature({}), InspectKind::kSignature, 0},
      {"PemSignature", PemOf("PKCS7", Maker().Signature({})), InspectKind::kSignature, 0},
      {"ForeignPem", PemOf("RSA PRIVATE KEY", Bytes(50)), InspectKind::kBundle, 3},
      {"Garbage", Bytes(500, 'x'), InspectKind::kPackage, 3},
      {"Empty", Bytes{}, InspectKind::kPackage, 3},
      {"SequenceTagAlone", Bytes{0x30}, InspectKind::kBundle, 3},
  };
}
INSTANTIATE_TEST_SUITE_P(Inspect, Kinds, testing::ValuesIn(Rows()),
                         [](const auto& row) { return std::string(row.param.name); });

class Inspect : public testing::Test {
 protected:
  viewtest::Inspector inspector_;
};

TEST_F(Inspect, TakesAFileForTheKindThatIsAskedFor) {
  for (const auto kind : {InspectKind::kPackage, InspectKind::kTail, InspectKind::kBundle, InspectKind::kCert,
                          InspectKind::kSignature}) {
    for (const Bytes& bytes : {Bytes{}, Bytes(40, 'x'), Maker().tsa.der, Maker().Crls({})}) {
      const fwpack::Inspection inspection = inspector_.Inspect(bytes, kind);
      EXPECT_EQ(inspection.kind, kind);
      (void)CheckedJson(inspection);
    }
  }
}

TEST_F(Inspect, GivesTheStampedTimeTwice) {
  const auto inspection = inspector_.Inspect(Maker().Package({.time = pki::Utc(2024, 6, 1, 12, 34, 56)}));
  EXPECT_EQ(CheckedJson(inspection)["timestamp"]["time"], (json{{"encoded", "20240601123456Z"},
                                                                {"type", "GeneralizedTime"},
                                                                {"meant", "2024-06-01T12:34:56Z"},
                                                                {"device", "2024-06-01T12:33:45Z"},
                                                                {"isReadDifferently", true}}));
  EXPECT_THAT(
      fwpack::InspectText(inspection),
      HasSubstr("  time: 2024-06-01T12:34:56Z (GeneralizedTime '20240601123456Z'), but a device reads it "
                "as 2024-06-01T12:33:45Z\n"));
}

TEST_F(Inspect, LaysThePackageOut) {
  const Bytes signature = Maker().Signature({});
  const Bytes crls = Maker().Crls({});
  const json layout = CheckedJson(inspector_.Inspect(package::Build(Bytes(9), signature, crls)))["layout"];
  std::size_t at = 0;
  std::vector<std::string> names;
  for (const json& region : layout) {
    EXPECT_EQ(region["offset"], at);
    at += region["length"].get<std::size_t>();
    names.push_back(region["name"]);
  }
  EXPECT_EQ(at, 9 + signature.size() + 68 + crls.size() + 68 + 32);
  EXPECT_THAT(names, testing::ElementsAre("signed content", "signature payload", "signature tail record",
                                          "CRL payload", "CRL tail record", "end pad"));
}

TEST_F(Inspect, NamesTheReasonsOfRevocations) {
  const Bytes bundle = Maker().Crls({.by_ca = {world::Revoke(Maker().signer, pki::Utc(2024, 5, 1), 1)}});
  const auto inspection = inspector_.Inspect(bundle);
  const json revoked = CheckedJson(inspection)["bundle"]["crls"][1]["revoked"][0];
  EXPECT_EQ(revoked["serial"], "02");
  EXPECT_EQ(revoked["reason"], (json{{"code", 1}, {"name", "keyCompromise"}}));
  EXPECT_THAT(fwpack::InspectText(inspection),
              HasSubstr("revoked: serial 02, keyCompromise, from 2024-05-01T"));
}

TEST_F(Inspect, ShowsEveryFieldOfATailRecord) {
  Bytes tail = package::Tail(0x01020304, 5);
  const auto document = CheckedJson(inspector_.Inspect(tail));
  EXPECT_EQ(document["tail"]["totalLength"], 0x01020304);
  EXPECT_EQ(document["tail"]["codeLength"], 5);
  EXPECT_EQ(document["tail"]["payloadCrcIsGood"], nullptr);
  tail[4] = 0x1b;
  const auto damaged = inspector_.Inspect(tail);
  EXPECT_EQ(CheckedJson(damaged)["stops"],
            (json{{{"offset", 66}, {"reason", "the tail record's CRC is wrong"}}}));
  EXPECT_EQ(fwpack::InspectText(damaged).find('\x1b'), std::string::npos);
}

TEST_F(Inspect, SaysWhatADeviceCannotDecode) {
  const auto inspection = inspector_.Inspect(pki::MakeCrl(Maker().ca, {.next_update = std::nullopt}));
  EXPECT_EQ(CheckedJson(inspection)["bundle"]["crls"][0]["deviceCode"]["name"], "LUMO_ERR_BER_SEQUENCE");
  EXPECT_THAT(fwpack::InspectText(inspection), HasSubstr("a device cannot decode it: 0x"));
  EXPECT_THAT(fwpack::InspectText(inspection), HasSubstr("next update: none\n"));
}

TEST_F(Inspect, RefusesAPartThatIsTooLong) {
  const std::string path = inspector_.Save("long", {0x30});
  std::filesystem::resize_file(path, (1U << 20U) + 1);
  EXPECT_THROW((void)fwpack::Inspect(path, InspectKind::kBundle), fwpack::Error);
  EXPECT_EQ(fwpack::Inspect(path, InspectKind::kAuto).kind, InspectKind::kPackage);
}

TEST(InspectJson, ReportsAFailureByTheSchema) {
  EXPECT_EQ(CheckedJson(fwpack::InspectErrorJson("no \xff file"))["exitStatus"], 3);
}

TEST(InspectSchema, RefusesWhatDoesNotFit) {
  const json schema = json::parse(R"({"type": "object", "required": ["a"], "additionalProperties": false,
    "properties": {"a": {"type": "integer", "minimum": 0}, "b": {"pattern": "^x*$"}}})");
  EXPECT_TRUE(SchemaFaults(schema, {{"a", 1}}).empty());
  EXPECT_FALSE(SchemaFaults(schema, {{"a", -1}}).empty());
  EXPECT_FALSE(SchemaFaults(schema, {{"a", 1}, {"c", 1}}).empty());
  EXPECT_FALSE(SchemaFaults(schema, {{"a", 1}, {"b", "y"}}).empty());
  EXPECT_FALSE(SchemaFaults(schema, json::object()).empty());
}

}  // namespace
