// Writes the enumeration section of include/telva.h from the catalogue tables in
// src/telva/catalog/tables, so that every code, parameter, item and constant is defined in one
// place. Usage:
//   gen_header HEADER            rewrite the section between the markers in HEADER
//   gen_header --check HEADER    exit 1 (and say so) if the section is out of date
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const kBegin = "/* BEGIN GENERATED CATALOGUE (tools/gen_header.cpp) */";
const char* const kEnd = "/* END GENERATED CATALOGUE */";

struct Entry {
  std::string name;
  std::string value;
};

void emit_enum(std::ostream& os, const char* tag, const char* prefix, const std::vector<Entry>& v,
               const char* count_name = nullptr) {
  os << "enum " << tag << " {\n";
  for (const Entry& e : v)
    os << "  " << prefix << e.name << " = " << e.value << ",\n";
  if (count_name) os << "  " << count_name << " = " << v.size() << ",\n";
  os << "};\n\n";
}

std::string generate() {
  std::ostringstream os;
  os << kBegin << "\n\n";

  std::vector<Entry> codes;
#define TVA_RESCODE(NAME, VALUE, DESC, TEMPLATE) codes.push_back({#NAME, #VALUE});
#include "../src/telva/catalog/tables/rescodes.def"
#undef TVA_RESCODE
  os << "/* Response codes: 0 is success, below 1000 warnings, 1000 to 9999 errors,\n"
        "   10000 and up reasons for which an optimizer ended. */\n";
  emit_enum(os, "TVArescode_enum", "TVA_RES_", codes);

  // Symbolic constant families, in table order, one enumeration per family.
  std::string family;
  std::vector<Entry> members;
  auto flush = [&] {
    if (!members.empty()) {
      std::string tag = "TVA" + family + "_enum";
      emit_enum(os, tag.c_str(), "TVA_", members);
    }
    members.clear();
  };
#define TVA_SYMCON(FAMILY, NAME, VALUE)                                                            \
  if (family != #FAMILY) {                                                                         \
    flush();                                                                                       \
    family = #FAMILY;                                                                              \
  }                                                                                                \
  members.push_back({#NAME, #VALUE});
#include "../src/telva/catalog/tables/symcons.def"
#undef TVA_SYMCON
  flush();

  std::vector<Entry> ip, dp, sp, di, ii, li, cb;
#define TVA_IPAR(NAME, IDX, DEF, KIND, MIN, MAX, FAM) ip.push_back({#NAME, #IDX});
#include "../src/telva/catalog/tables/iparams.def"
#undef TVA_IPAR
#define TVA_DPAR(NAME, IDX, DEF, KIND, MIN, MAX) dp.push_back({#NAME, #IDX});
#include "../src/telva/catalog/tables/dparams.def"
#undef TVA_DPAR
#define TVA_SPAR(NAME, IDX, DEF) sp.push_back({#NAME, #IDX});
#include "../src/telva/catalog/tables/sparams.def"
#undef TVA_SPAR
#define TVA_DINF(NAME, IDX) di.push_back({#NAME, #IDX});
#define TVA_IINF(NAME, IDX) ii.push_back({#NAME, #IDX});
#define TVA_LIINF(NAME, IDX) li.push_back({#NAME, #IDX});
#include "../src/telva/catalog/tables/infitems.def"
#undef TVA_DINF
#undef TVA_IINF
#undef TVA_LIINF
#define TVA_CALLBACK(NAME, VALUE) cb.push_back({#NAME, #VALUE});
#include "../src/telva/catalog/tables/callbacks.def"
#undef TVA_CALLBACK

  // Integer parameter indices have gaps, so the count is the largest index plus one.
  os << "/* Integer parameters (indices 9 and 29 to 33 are not assigned). */\n";
  os << "enum TVAiparam_enum {\n";
  for (const Entry& e : ip)
    os << "  TVA_IPAR_" << e.name << " = " << e.value << ",\n";
  os << "};\n#define TVA_IPAR_NUM 176\n\n";
  os << "/* Double parameters. */\n";
  emit_enum(os, "TVAdparam_enum", "TVA_DPAR_", dp);
  os << "#define TVA_DPAR_NUM " << dp.size() << "\n\n";
  os << "/* String parameters. */\n";
  emit_enum(os, "TVAsparam_enum", "TVA_SPAR_", sp);
  os << "#define TVA_SPAR_NUM " << sp.size() << "\n\n";
  os << "/* Information items. */\n";
  emit_enum(os, "TVAdinfitem_enum", "TVA_DINF_", di);
  os << "#define TVA_DINF_NUM " << di.size() << "\n\n";
  emit_enum(os, "TVAiinfitem_enum", "TVA_IINF_", ii);
  os << "#define TVA_IINF_NUM " << ii.size() << "\n\n";
  emit_enum(os, "TVAliinfitem_enum", "TVA_LIINF_", li);
  os << "#define TVA_LIINF_NUM " << li.size() << "\n\n";
  os << "/* Progress callback codes (10, 41 and 67 are not assigned). */\n";
  emit_enum(os, "TVAcallbackcode_enum", "TVA_CALLBACK_", cb);
  os << kEnd;
  return os.str();
}

bool read_file(const char* path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream ss;
  ss << in.rdbuf();
  text = ss.str();
  return true;
}

} // namespace

int main(int argc, char** argv) {
  bool check = argc == 3 && std::strcmp(argv[1], "--check") == 0;
  if (argc != 2 && !check) {
    std::cerr << "usage: gen_header [--check] HEADER\n";
    return 2;
  }
  const char* path = argv[argc - 1];
  std::string text;
  if (!read_file(path, text)) {
    std::cerr << "gen_header: cannot read " << path << "\n";
    return 2;
  }
  size_t b = text.find(kBegin), e = text.find(kEnd);
  if (b == std::string::npos || e == std::string::npos || e < b) {
    std::cerr << "gen_header: markers not found in " << path << "\n";
    return 2;
  }
  std::string updated = text.substr(0, b) + generate() + text.substr(e + std::strlen(kEnd));
  if (check) {
    if (updated != text) {
      std::cerr << "gen_header: " << path
                << " is out of date with the catalogue tables; build the update_header target\n";
      return 1;
    }
    return 0;
  }
  if (updated != text) {
    std::ofstream out(path, std::ios::binary);
    out << updated;
  }
  return 0;
}
