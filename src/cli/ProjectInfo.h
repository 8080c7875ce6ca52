#pragma once
// A project described as JSON (what `vantor info --json` prints) and as
// text.

#include <iosfwd>

namespace vantor {
class PDocument;
}

namespace vantor::cli {

// Writes what `vantor info --json` prints: the project described as one
// JSON object, its parts written one by one as they are described.
void writeProjectJson(std::ostream& out, const PDocument& document);
// The text listing of `vantor info`: what writeProjectJson shows, written
// straight from the document.
void printProject(std::ostream& out, const PDocument& document);

}  // namespace vantor::cli
