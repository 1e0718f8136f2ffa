// Rules documents that a user uploads, imported.
#include "fuzz/imports.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

void import(const std::string& text) { (void)import_rules(Importing::RulesFormat::xml, text); }

const Target target("xml_import", import);

}  // namespace
}  // namespace Quarrow::Fuzz
