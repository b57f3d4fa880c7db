// compound_numeric.cpp: the arithmetic compound operators and the template
// commands that include files or move coordinates.
#include <filesystem>

#include "engine/definitions.h"
#include "engine/flow.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/numeric.h"
#include "foundation/numeric_text.h"

namespace qv::macro {
namespace {

const widetext& param(const macroengine& m, std::size_t i) { return m.list1.text[i - 1].str(); }

// `+=`, `-=`, `*=`, `/=`: component by component, left to right.
widetext arithmetic(const macroengine& m, widechar op) {
  std::size_t n = m.list1.count();
  num::hyper acc = n ? text::hyper(param(m, 1)) : hyper::zero;
  for (std::size_t i = 2; i <= n; ++i) {
    num::hyper h = text::hyper(param(m, i));
    switch (op) {
      case u'+': acc = num::add(acc, h); break;
      case u'-': acc = num::sub(acc, h); break;
      case u'*': acc = num::mul_each(acc, h); break;
      default: acc = num::div_each(acc, h); break;   // a zero component gives 0
    }
  }
  return hyper::text_short(acc);
}

widetext padded(widetext t, std::size_t width) {
  if (t.size() < width) t.insert(0, width - t.size(), u'0');
  return t;
}

// A vector rotated by the angles (radians) about x, then y, then z.
num::vector rotated(num::vector v, num::vector angles) {
  return vector::rotate_z(vector::rotate_y(vector::rotate_x(v, angles.x), angles.y), angles.z);
}

bool is_vector_entry(const widetext& t) { return t.find_first_of(u",;") != widetext::npos; }

widetext column_text(const widetext& mask, const widetext& col) {
  if (mask == u"@") return col;
  if (!mask.empty() && ((mask[0] >= u'0' && mask[0] <= u'9') || mask[0] == u'-' || mask[0] == u'.'))
    return real::text(text::real(mask) * text::real(col));
  return mask + col;
}

// `@@r` and `@@t`: the first vector-valued mask entry at position m is a
// rotation applied to columns m..m+2; for `@@t` the entry before it is an
// offset, added before the rotation when the rotation's fourth component is 0
// and after it otherwise. Other columns pass as under `@@*`.
widetext moved_columns(const macroengine& m, const interpframe& fr, bool with_offset) {
  std::size_t at = 0;
  for (std::size_t i = with_offset ? 1 : 0; i < fr.mask.size(); ++i)
    if (is_vector_entry(fr.mask[i])) {
      at = i + 1;
      break;
    }
  std::size_t n = m.list1.count();
  if (!at || n < at + 2) return {};
  num::hyper rot = text::hyper(fr.mask[at - 1]);
  if (num::length(rot) == 0) return {};
  num::vector offset = with_offset ? text::vector(fr.mask[at - 2]) : vector::zero;
  num::vector v{text::real(param(m, at)), text::real(param(m, at + 1)), text::real(param(m, at + 2))};
  num::vector angles{rot.x, rot.y, rot.z};
  if (rot.t == 0) v = rotated(num::add(v, offset), angles);
  else v = num::add(rotated(v, angles), offset);
  widetext out;
  for (std::size_t i = 1; i <= n; ++i) {
    if (i > 1) out += fr.separator;
    if (i == at) out += real::text(v.x);
    else if (i == at + 1) out += real::text(v.y);
    else if (i == at + 2) out += real::text(v.z);
    else if (with_offset && i == at - 1) out += param(m, i);
    else if (i <= fr.mask.size()) out += column_text(fr.mask[i - 1], param(m, i));
    else out += param(m, i);
  }
  return out;
}

void write_line(macroengine& m, wideview t) {
  const outfile& f = m.outfiles.back();
  if (!f.handle) return;
  std::string s = text::utf8(t);
  s.push_back('\n');
  std::fwrite(s.data(), 1, s.size(), f.handle);
}

}  // namespace

bool numeric_compound(macroengine& m, wideview op, widetext& v) {
  const std::size_t n = m.list1.count();
  if (op == u"+=" || op == u"-=" || op == u"*=" || op == u"/=") {
    v = arithmetic(m, op[0]);
  } else if (op == u"o=") {
    if (n == 0) return true;
    num::hyper acc = text::hyper(param(m, 1));
    for (std::size_t i = 2; i <= n; ++i) acc = {num::dot(acc, text::hyper(param(m, i))), 0, 0, 0};
    v = n == 1 ? param(m, 1) : hyper::text_short(acc);
  } else if (op == u"x=") {
    if (n == 0) return true;
    num::vector acc = text::vector(param(m, 1));
    for (std::size_t i = 2; i <= n; ++i) acc = vector::cross(acc, text::vector(param(m, i)));
    v = n == 1 ? param(m, 1) : vector::text(acc);
  } else if (op == u"#=") {
    if (n == 0) return true;
    if (n == 1) {
      num::nathyper r = hyper::round(text::hyper(param(m, 1)));
      v = hyper::text_short({double(r.x), double(r.y), double(r.z), double(r.t)});
      return true;
    }
    std::int64_t k = text::nat(param(m, 1));
    for (std::size_t i = 2; i <= n; ++i) {
      if (i > 2) v.push_back(u' ');
      num::hyper h = text::hyper(param(m, i));
      v += k < 0 ? padded(hyper::text_short(h), std::size_t(-k)) : hyper::text_short(hyper::round_digits(h, k));
    }
  } else if (op == u"%=") {
    if (n == 0) {
      check_min(m, 1);
      return true;
    }
    for (std::size_t i = 1; i <= n; ++i) v += hyper::text_short(num::norm(text::hyper(param(m, i))));
  } else {
    return false;
  }
  return true;
}

bool template_extra(macroengine& m, interpframe& fr, widechar c) {
  if (c == u'I' || c == u'i') {
    // The file's lines take the place of this one; its first line is passed, as
    // with `include`, and the template goes on with the second.
    if (parameter_count(m) < 1) {
      check_min(m, 1);
      return true;
    }
    widetext name = parameter(m, 1);
    std::error_code ec;
    if (!std::filesystem::exists(text::utf8(name), ec)) print::line(u"  Include file (" + name + u") not found!");
    else include_splice(m, m.currentline, text::utf8(name));
    return true;
  }
  if (c == u'R' || c == u'r' || c == u'T' || c == u't') {
    bool offset = c == u'T' || c == u't';
    if (fr.mask.size() < (offset ? 2u : 1u)) {
      check_min(m, offset ? 2 : 1);
      return true;
    }
    write_line(m, moved_columns(m, fr, offset));
    return true;
  }
  return false;
}

}  // namespace qv::macro
