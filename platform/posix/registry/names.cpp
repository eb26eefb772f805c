#include "platform/posix/registry/names.h"

#include <locale.h>
#include <wctype.h>

#include <array>
#include <memory>

#include "platform/no_destructor.h"
#include "platform/registry.h"

namespace Platform::Posix {
namespace {

// One upper-case mapping for the whole Basic Multilingual Plane, from the C library's Unicode
// tables, built once. Characters whose upper case lies outside the plane, or takes more than one
// code unit, keep their own form, as in the Windows table.
class UpperCaseTable {
public:
  UpperCaseTable() {
    locale_t unicode = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    for (std::size_t c = 0; c < m_upper.size(); ++c) {
      char16_t upper = static_cast<char16_t>(c);
      if (c >= 'a' && c <= 'z') {
        upper = static_cast<char16_t>(c - 'a' + 'A');
      } else if (c >= 0x80 && (c < 0xD800 || c >= 0xE000) && unicode != static_cast<locale_t>(nullptr)) {
        wint_t mapped = ::towupper_l(static_cast<wint_t>(c), unicode);
        if (mapped <= 0xFFFF && (mapped < 0xD800 || mapped >= 0xE000)) upper = static_cast<char16_t>(mapped);
      }
      m_upper[c] = upper;
    }
    if (unicode != static_cast<locale_t>(nullptr)) ::freelocale(unicode);
  }

  char16_t Upper(char16_t c) const { return m_upper[c]; }

private:
  std::array<char16_t, 0x10000> m_upper{};
};

const UpperCaseTable& Table() {
  static NoDestructor<UpperCaseTable> table;
  return *table;
}

}  // namespace

char16_t FoldCase(char16_t c) {
  if (c < 0x80) return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - u'a' + u'A') : c;
  return Table().Upper(c);
}

void AppendFolded(std::u16string& out, std::u16string_view name) {
  std::size_t start = out.size();
  out.resize(start + name.size());
  char16_t* target = out.data() + start;
  for (std::size_t i = 0; i < name.size(); ++i) target[i] = FoldCase(name[i]);
}

std::u16string Folded(std::u16string_view name) {
  std::u16string out;
  AppendFolded(out, name);
  return out;
}

std::size_t TerminatedLength(const char16_t* text) {
  if (text == nullptr) return 0;
  std::size_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

LSTATUS ParseKeyPath(const char16_t* subKey, KeyPath& path) {
  path.components.clear();
  path.folded.clear();
  std::u16string_view text(subKey == nullptr ? u"" : subKey, TerminatedLength(subKey));
  if (!text.empty() && text.front() == u'\\') return ERROR_BAD_PATHNAME;
  std::size_t position = 0;
  while (position < text.size()) {
    std::size_t end = text.find(u'\\', position);
    if (end == std::u16string_view::npos) end = text.size();
    if (end > position) {
      std::u16string_view component = text.substr(position, end - position);
      if (component.size() > MAX_KEY_NAME_LENGTH) return ERROR_INVALID_PARAMETER;
      if (!path.folded.empty()) path.folded += u'\\';
      AppendFolded(path.folded, component);
      path.components.push_back(component);
    }
    position = end + 1;
  }
  return ERROR_SUCCESS;
}

std::u16string JoinFolded(std::u16string_view basePath, std::u16string_view relative) {
  std::u16string out;
  out.reserve(basePath.size() + 1 + relative.size());
  out.append(basePath);
  if (!basePath.empty() && !relative.empty()) out += u'\\';
  out.append(relative);
  return out;
}

}  // namespace Platform::Posix
