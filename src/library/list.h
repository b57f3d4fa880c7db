// list.h: the typed list record of the `list.` family and its workspace list.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "foundation/numeric.h"
#include "images/workspace.h"

namespace qv {

// Element types by their tags.
enum class listtag : std::uint8_t { real = 1, nat = 2, complex = 17, vector = 33, hyper = 49, chars = 241 };

// One array in use, the one of the tag; `position` is the cursor of `list.first`
// and its relatives (0 before the first element, length + 1 past the last).
struct list {
  static constexpr std::uint8_t marker = 176;
  listtag tag = listtag::nat;
  bool known = true;   // false for a tag no element type has: the record is unusable
  std::int64_t position = 0;
  widetext value, background;   // what reads outside the list give
  std::vector<double> reals;
  std::vector<std::int64_t> nats;
  std::vector<num::complex> complexes;
  std::vector<num::vector> vectors;
  std::vector<num::hyper> hypers;
  std::vector<widetext> chars;
};

namespace lists {

std::int64_t length(const list& l);
void clear(list& l);   // drops the elements, keeps type, cursor at 0
// Element i (from 1) as its text; outside the list the background.
widetext text_at(const list& l, std::int64_t i);
// Appends the element that `t` reads as, by the list's type.
void push_text(list& l, wideview t);
// Element i (from 1) as a real for the statistics: the first component of a
// vector type, the number of a text. 0 outside.
double real_at(const list& l, std::int64_t i);
// Re-created at length n (below 1 empty) with the default type, all zero or empty.
void make(list& l, std::uint8_t tag, std::int64_t n);

}  // namespace lists

template <>
struct workspace_traits<list> {
  static constexpr const char* prefix = "list.";
  static constexpr const char16_t* word = u"list";
  static constexpr const char16_t* dumpname = u"list";
  static constexpr const char16_t* emptyline = u"  List empty!";
  static constexpr const char16_t* currenthead = u"  List (";
  static constexpr const char* usage[4] = {"list.use name", "list.swap name1 name2", "list.name name", "list.dump"};
  static constexpr std::uint8_t start_tag = 2;
  static inline std::uint8_t default_tag = 2;
  static std::unique_ptr<list> create(std::uint8_t tag) {
    auto l = std::make_unique<list>();
    lists::make(*l, tag, 0);
    return l;
  }
  static widetext entry(const list& l) {
    static const char16_t* names[] = {u"real", u"nat", u"complex", u"vector", u"hyper", u"chars"};
    int k = l.tag == listtag::real ? 0 : l.tag == listtag::nat ? 1 : l.tag == listtag::complex ? 2
          : l.tag == listtag::vector ? 3 : l.tag == listtag::hyper ? 4 : 5;
    return widetext(l.known ? names[k] : u"unknown") + u"(" + nat::text(lists::length(l)) + u")";
  }
  static void announce(wideview name, const list&) { print::line(u"Use list: " + widetext(name)); }
};

namespace lists {
inline workspace_list<list>& workspaces() { return workspace::list<list>(); }
inline list& current() { return *workspace::current<list>(); }
void register_commands(macroengine& m);
}  // namespace lists

}  // namespace qv
