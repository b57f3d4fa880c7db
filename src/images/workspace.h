// workspace.h: the workspace list that every object family shares, and its common commands.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "engine/macroengine.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv {

// Each family specialises this with:
//   prefix    "image."                       the command prefix
//   word      u"imagefield"                  its word in assignment reports
//   dumpname  u"image"                       "***** dump.image *****"
//   emptyline u"  Imagelist empty!"          printed for a list without entries
//   currenthead u"  Image ("                 start of the current-entry line
//   usage[4]  usage texts of use, swap, name, dump
//   start_tag and `default_tag` (a static inline byte; families without types keep 0)
//   static std::unique_ptr<T> create(std::uint8_t tag)   a new empty object
//   static widetext entry(const T&)          the dump text of one object
//   static void announce(wideview name, const T&)   the "Use ..." line, or nothing
template <typename T>
struct workspace_traits;

// Objects and upper-cased names in parallel, from 1 in the interface; the list
// owns its objects, and an object never moves while the list lives.
template <typename T>
struct workspace_list {
  std::vector<std::unique_ptr<T>> objects;
  std::vector<widetext> names;
  std::size_t current = 0;   // 1-based, 0 while the list is empty
  T* current_object() const { return current ? objects[current - 1].get() : nullptr; }
  const widetext& current_name() const {
    static const widetext none;
    return current ? names[current - 1] : none;
  }
};

namespace workspace {

// Upper-casing of names is byte-wise ASCII: "a" and "A" are one workspace.
inline widetext key(wideview name) { return text::upper(widetext(name)); }

// One empty "DEFAULT" object of the default type, current.
template <typename T>
void rebuild(workspace_list<T>& l) {
  using tr = workspace_traits<T>;
  l.objects.clear();
  l.names.clear();
  l.objects.push_back(tr::create(tr::default_tag));
  l.names.push_back(u"DEFAULT");
  l.current = 1;
}

// The global reset of one family: the start type again, then a fresh list.
template <typename T>
void reset(workspace_list<T>& l) {
  workspace_traits<T>::default_tag = workspace_traits<T>::start_tag;
  rebuild(l);
}

// The process-wide list of a family, created on first use with one "DEFAULT".
template <typename T>
workspace_list<T>& list() {
  static workspace_list<T> l = [] {
    workspace_list<T> fresh;
    rebuild(fresh);   // a type switch before the first use stays in force
    return fresh;
  }();
  return l;
}

template <typename T>
T* current() { return list<T>().current_object(); }

// First slot whose name equals the upper-cased `name`, or 0.
template <typename T>
std::size_t find(const workspace_list<T>& l, wideview name) {
  widetext k = key(name);
  for (std::size_t i = 0; i < l.names.size(); ++i)
    if (l.names[i] == k) return i + 1;
  return 0;
}

template <typename T>
std::size_t append(workspace_list<T>& l, wideview name) {
  l.objects.push_back(workspace_traits<T>::create(workspace_traits<T>::default_tag));
  l.names.push_back(key(name));
  return l.objects.size();
}

// Makes the named workspace current, creating it when the name is new.
template <typename T>
T& use(workspace_list<T>& l, wideview name) {
  std::size_t i = find(l, name);
  if (!i) i = append(l, name);
  l.current = i;
  return *l.objects[i - 1];
}

template <typename T>
bool swap(workspace_list<T>& l, wideview a, wideview b) {
  std::size_t i = find(l, a), j = find(l, b);
  if (!i || !j) {
    // An unknown name prints as the text of slot 0, which is empty.
    print::line(u"  Not swapped (" + (i ? l.names[i - 1] : widetext()) + u") <-> (" +
                (j ? l.names[j - 1] : widetext()) + u")");
    return false;
  }
  std::swap(l.names[i - 1], l.names[j - 1]);
  return true;
}

template <typename T>
void dump(const workspace_list<T>& l) {
  using tr = workspace_traits<T>;
  if (l.objects.empty()) {
    print::line(tr::emptyline);
    return;
  }
  print::line(u"***** dump." + widetext(tr::dumpname) + u" *****");
  print::line(widetext(tr::currenthead) + nat::text(std::int64_t(l.current)) + u") in use: " + l.current_name());
  for (std::size_t i = 0; i < l.objects.size(); ++i) {
    widetext e = l.objects[i] ? tr::entry(*l.objects[i]) : widetext(u"nil");
    print::line(u"  (" + nat::text(std::int64_t(i + 1)) + u"):" + e + u":" + l.names[i]);
  }
  print::line(u"***** dump." + widetext(tr::dumpname) + u" end *****");
}

// The object that `name := F.func` writes to. Reports and gives nothing when
// that is the current workspace; creates an object for an unknown name.
template <typename T>
T* get_target_or_current(workspace_list<T>& l, wideview name) {
  std::size_t i = find(l, name.empty() ? wideview(u"DEFAULT") : name);
  if (!i) i = append(l, name);
  return l.objects[i - 1].get();
}

template <typename T>
T* get_target(macroengine& m, workspace_list<T>& l, wideview name) {
  std::size_t i = find(l, name.empty() ? wideview(u"DEFAULT") : name);
  if (i && i == l.current) {
    widetext w = workspace_traits<T>::word;
    macro::error_syntax(m, u"Same illegal assigment (" + w + u"[" + l.current_name() + u"] := function " + w + u"[" +
                               l.names[i - 1] + u"])!");
    return nullptr;
  }
  return get_target_or_current(l, name);
}

template <typename T>
T* get_source(macroengine& m, workspace_list<T>& l, wideview name) {
  std::size_t i = find(l, name.empty() ? wideview(u"DEFAULT") : name);
  if (!i) {
    macro::error(m, u"Empty " + widetext(workspace_traits<T>::word) + u"[" + widetext(name) + u"]");
    return nullptr;
  }
  return l.objects[i - 1].get();
}

// Hooks of the global `clear` and `dump`, one per family in registration order.
struct familyhooks {
  void (*reset)();
  void (*dump)();   // null: not part of the global dump
};
void add_hooks(familyhooks h);   // once per family; a second call with the same hooks is ignored
void reset_all();
void dump_all();

namespace detail {
template <typename T>
void use_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  widetext name = macro::parameter(m, 1);
  workspace_list<T>& l = list<T>();
  T& obj = use(l, name);
  workspace_traits<T>::announce(l.current_name(), obj);
}
template <typename T>
void swap_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  swap(list<T>(), macro::parameter(m, 1), macro::parameter(m, 2));
}
template <typename T>
void name_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  workspace_list<T>& l = list<T>();
  if (l.current) l.names[l.current - 1] = key(macro::parameter(m, 1));
}
template <typename T>
void dump_cmd(macroengine&) { dump(list<T>()); }
template <typename T>
void reset_hook() { reset(list<T>()); }
template <typename T>
void dump_hook() { dump(list<T>()); }

template <typename T>
inline constexpr cmdrow rows[] = {
    {"use", cmdkind::procedure, use_cmd<T>, workspace_traits<T>::usage[0], "makes the named workspace current, new if unknown"},
    {"swap", cmdkind::procedure, swap_cmd<T>, workspace_traits<T>::usage[1], "exchanges the names of two workspaces"},
    {"name", cmdkind::procedure, name_cmd<T>, workspace_traits<T>::usage[2], "renames the current workspace"},
    {"dump", cmdkind::procedure, dump_cmd<T>, workspace_traits<T>::usage[3], "prints the workspace list"},
};
}  // namespace detail

// `F.use`, `F.swap`, `F.name` and `F.dump` under the family's prefix. Every
// family is reset by the global `clear`; the global `dump` shows only the six
// field families (`dumped`), not lists and tables.
template <typename T>
void register_family(macroengine& m, bool dumped = true) {
  list<T>();   // every list exists from the start, with its "DEFAULT"
  add_hooks({detail::reset_hook<T>, dumped ? detail::dump_hook<T> : nullptr});
  macro::register_rows(m, workspace_traits<T>::prefix, detail::rows<T>);
}

// The global `clear`, `clean`, `new` and `dump`.
void register_global(macroengine& m);

}  // namespace workspace
}  // namespace qv
