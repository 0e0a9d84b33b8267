#include "tools/fwpack/view/inspect_json.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/fwpack/error.h"
#include "tools/fwpack/view/name_view.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;

Json Head() {
  return {{"schema", "fwpack-inspect"}, {"schemaVersion", kSchemaVersion}};
}

std::string Dump(const Json& document) {
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

template <class Elements, class ToJson>
Json List(const Elements& elements, ToJson to_json) {
  Json list = Json::array();
  for (const auto& element : elements) list.push_back(to_json(element));
  return list;
}

template <class Value, class ToJson>
Json OrNull(const std::optional<Value>& value, ToJson to_json) {
  return value ? Json(to_json(*value)) : Json(nullptr);
}

Json CodeJson(LUMO_ERROR_CODE code) {
  if (code == LUMO_OK) return nullptr;
  char text[16];
  (void)std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned int>(code));
  return {{"value", text}, {"name", lumo_error_name(code)}, {"meaning", lumo_error_meaning(code)}};
}

Json StopJson(const Stop& stop) {
  return {{"offset", stop.offset}, {"reason", stop.reason}};
}

Json TimeJson(const TimeView& time) {
  return {{"encoded", time.encoded},
          {"type", time.generalized ? "GeneralizedTime" : "UTCTime"},
          {"meant", OrNull(time.meant, FormatUtcTime)},
          {"device", OrNull(time.device, FormatUtcTime)},
          {"isReadDifferently", IsReadDifferently(time)}};
}

Json NameJson(const NameView& name) {
  return {{"text", name.text},
          {"deviceText", OrNull(name.device_text, Visible)},
          {"rdns", name.rdns},
          {"der", Hex(name.der)}};
}

Json CertJson(const CertView& cert) {
  Json json = {{"offset", cert.offset}, {"length", cert.der.size()}};
  json["isDecoded"] = cert.x509 != nullptr;
  json["deviceCode"] = CodeJson(cert.device_code);
  if (cert.x509 == nullptr) return json;
  json["version"] = cert.version;
  json["subject"] = NameJson(cert.subject);
  json["issuer"] = NameJson(cert.issuer);
  json["serial"] = cert.serial.hex;
  json["notBefore"] = TimeJson(cert.not_before);
  json["notAfter"] = TimeJson(cert.not_after);
  json["signatureAlgorithm"] = cert.signature_algorithm;
  json["keyAlgorithm"] = cert.key_algorithm;
  json["keyBits"] = cert.key_bits;
  json["isCa"] = cert.is_ca;
  json["isSelfIssued"] = cert.is_self_issued;
  json["keyUsages"] = cert.key_usages;
  json["extendedKeyUsages"] = cert.extended_key_usages;
  return json;
}

Json ReasonJson(int reason) {
  return {{"code", reason}, {"name", ReasonName(reason)}};
}

Json RevokedJson(const RevokedView& revoked) {
  return {{"serial", revoked.serial.hex},
          {"date", TimeJson(revoked.date)},
          {"reason", OrNull(revoked.reason, ReasonJson)}};
}

Json CrlJson(const CrlView& crl) {
  Json json = {{"offset", crl.offset}, {"length", crl.der.size()}};
  json["isDecoded"] = crl.x509 != nullptr;
  json["deviceCode"] = CodeJson(crl.device_code);
  if (crl.x509 == nullptr) return json;
  json["issuer"] = NameJson(crl.issuer);
  json["thisUpdate"] = TimeJson(crl.this_update);
  json["nextUpdate"] = OrNull(crl.next_update, TimeJson);
  json["signatureAlgorithm"] = crl.signature_algorithm;
  json["number"] = OrNull(crl.number_hex, [](const std::string& number) { return number; });
  json["revoked"] = List(crl.revoked, RevokedJson);
  return json;
}

const char* EncodingName(Encoding encoding) {
  return encoding == Encoding::kPem ? "PEM" : "DER";
}

Json BundleJson(const BundleView& bundle) {
  return {{"encoding", EncodingName(bundle.encoding)},
          {"length", bundle.bytes.size()},
          {"pemBlocks", bundle.pem_blocks},
          {"crls", List(bundle.crls, CrlJson)},
          {"certificates", List(bundle.certs, CertJson)}};
}

Json AttributeJson(const AttributeView& attribute) {
  return {{"type", attribute.type}, {"values", Hex(attribute.der)}};
}

Json SignerJson(const SignerView& signer) {
  return {{"issuer", NameJson(signer.issuer)},
          {"serial", signer.serial.hex},
          {"digestAlgorithm", signer.digest_algorithm},
          {"signatureAlgorithm", signer.signature_algorithm},
          {"messageDigest", OrNull(signer.message_digest, Hex)},
          {"signingTime", OrNull(signer.signing_time, TimeJson)},
          {"signedAttributes", List(signer.signed_attributes, AttributeJson)},
          {"unsignedAttributes", List(signer.unsigned_attributes, AttributeJson)},
          {"signature", Hex(signer.signature)}};
}

Json MessageJson(const MessageView& message) {
  Json json = {{"offset", message.offset}, {"encoding", EncodingName(message.encoding)}};
  json["length"] = message.der.size();
  json["isDecoded"] = message.cms != nullptr;
  json["deviceCode"] = CodeJson(message.device_code);
  json["certificates"] = List(message.certs, CertJson);
  if (message.cms == nullptr) return json;
  json["contentType"] = message.content_type;
  json["isDetached"] = message.is_detached;
  json["signers"] = List(message.signers, SignerJson);
  return json;
}

Json TokenJson(const TokenView& token) {
  Json json = {{"message", MessageJson(token.message)}};
  json["isDecoded"] = token.message.cms != nullptr && !token.stop;
  if (token.message.cms == nullptr || token.stop) return json;
  json["time"] = TimeJson(token.time);
  json["policy"] = token.policy;
  json["serial"] = token.serial.hex;
  json["imprintAlgorithm"] = token.imprint_algorithm;
  json["imprint"] = Hex(token.imprint);
  json["nonce"] = OrNull(token.nonce_hex, [](const std::string& nonce) { return nonce; });
  return json;
}

Json TailJson(const TailView& tail) {
  const SEFS& record = tail.record;
  return {{"offset", tail.offset},
          {"magic", FieldText(record.aucMagicNum, sizeof record.aucMagicNum)},
          {"magicIsGood", tail.has_magic},
          {"formatVersion", record.wEFSVersion},
          {"product", FieldText(record.aucProductName, sizeof record.aucProductName)},
          {"versionV", record.wVersionV},
          {"versionR", record.wVersionR},
          {"versionLLL", FieldText(record.aucVersionLLL, sizeof record.aucVersionLLL)},
          {"packerVersion", record.ucEfsToolVer},
          {"versionC", record.wVersionC},
          {"versionSP", record.wVersionSP},
          {"versionB", record.wVersionB},
          {"versionD", record.wVersionD},
          {"year", record.wYear},
          {"month", record.ucMonth},
          {"day", record.ucDay},
          {"hour", record.ucHour},
          {"minute", record.ucMinute},
          {"second", record.ucSecond},
          {"tick", record.ucTick},
          {"fileType", record.wFileType},
          {"codeType", record.wCodeType},
          {"reserved", record.reserved2},
          {"description", FieldText(record.aucDesc, sizeof record.aucDesc)},
          {"padding", FieldText(record.padding, sizeof record.padding)},
          {"totalLength", record.dwTotalLen},
          {"codeLength", record.dwCodeLen},
          {"payloadCrc", record.wCodeCrc},
          {"payloadCrcIsGood", OrNull(tail.payload_crc_is_good, [](bool good) { return good; })},
          {"recordCrc", record.wEFSCrc},
          {"recordCrcIsGood", tail.crc_is_good}};
}

Json BlockJson(const BlockView& block) {
  return {{"offset", block.offset},
          {"payloadLength", block.payload.size()},
          {"tail", OrNull(block.tail, TailJson)}};
}

Json RegionJson(const Region& region) {
  return {{"name", region.name}, {"offset", region.offset}, {"length", region.length}};
}

void AddPackage(const PackageView& package, Json* document) {
  (*document)["layout"] = List(LayoutOf(package), RegionJson);
  (*document)["signatureBlock"] = OrNull(package.signature_block, BlockJson);
  (*document)["crlBlock"] = OrNull(package.crl_block, BlockJson);
  (*document)["signature"] = OrNull(package.signature, MessageJson);
  (*document)["timestamp"] = OrNull(package.token, TokenJson);
  (*document)["bundle"] = OrNull(package.bundle, BundleJson);
}

void AddContent(const Inspection& inspection, Json* document) {
  switch (inspection.kind) {
    case InspectKind::kTail:
      (*document)["tail"] = OrNull(inspection.tail, TailJson);
      break;
    case InspectKind::kBundle:
      (*document)["bundle"] = OrNull(inspection.bundle, BundleJson);
      break;
    case InspectKind::kCert:
      (*document)["certificate"] = OrNull(inspection.cert, CertJson);
      break;
    case InspectKind::kSignature:
      (*document)["signature"] = OrNull(inspection.signature, MessageJson);
      (*document)["timestamp"] = OrNull(inspection.token, TokenJson);
      break;
    default:
      if (inspection.package) AddPackage(*inspection.package, document);
  }
}

}  // namespace

std::string InspectJson(const Inspection& inspection) {
  Json document = Head();
  document["exitStatus"] = ExitStatusOf(inspection);
  document["file"] = inspection.path;
  document["size"] = inspection.size;
  document["kind"] = KindName(inspection.kind);
  document["isComplete"] = inspection.stops.empty();
  document["stops"] = List(inspection.stops, StopJson);
  AddContent(inspection, &document);
  return Dump(document);
}

std::string InspectErrorJson(const std::string& message) {
  Json document = Head();
  document["exitStatus"] = kInputError;
  document["error"] = {{"message", message}};
  return Dump(document);
}

int ExitStatusOf(const Inspection& inspection) {
  return inspection.stops.empty() ? kAccepted : kInputError;
}

}  // namespace fwpack
