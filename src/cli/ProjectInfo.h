#pragma once
// A project described as JSON (what `vantor info --json` prints) and as
// text.

#include <nlohmann/json.hpp>

#include <iosfwd>

namespace vantor {
class PDocument;
}

namespace vantor::cli {

nlohmann::json describeProject(const PDocument& document);
// The text listing of `vantor info`: what describeProject holds, written
// straight from the document without building the description.
void printProject(std::ostream& out, const PDocument& document);

}  // namespace vantor::cli
