#ifndef FWVET_TESTS_SUPPORT_JSON_SCHEMA_H
#define FWVET_TESTS_SUPPORT_JSON_SCHEMA_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// The places in `document` that do not fit `schema`, and why; empty when it fits. Knows the keywords type,
/// const, enum, pattern, minimum, maximum, properties, required, additionalProperties: false, items, $ref to
/// #/$defs, oneOf, anyOf and not; throws std::invalid_argument for any other that could demand something.
std::vector<std::string> SchemaFaults(const nlohmann::json& schema, const nlohmann::json& document);

/// The document in `text`; fails the test with the places where it does not fit the schema that
/// docs/fwpack-COMMAND.schema.json is.
nlohmann::json CheckedDocument(const std::string& command, const std::string& text);

#endif
