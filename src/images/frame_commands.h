// frame_commands.h: the frame commands that every field family shares (`F.origin`,
// `F.scale`, `F.matrix`, `F.l2g` and their kin), as handlers over the family's record.
#pragma once
#include <algorithm>

#include "engine/macroengine.h"
#include "foundation/console.h"
#include "images/frame.h"
#include "images/workspace.h"

namespace qv::frame_cmd {

template <typename T>
T& field() { return *workspace::current<T>(); }

template <typename T>
void origin_fn(macroengine& m) { macro::value_set(m, vector_text(field<T>().frame.offset)); }

// No parameter: the origin goes back to <0,0,0>.
template <typename T>
void origin_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n > 1) return macro::check_max(m, 1);
  frame_set_offset(field<T>().frame, n ? read_vector(macro::parameter(m, 1)) : framemath::vector{});
}

template <typename T>
void origin_add_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  frame& f = field<T>().frame;
  framemath::vector d = read_vector(macro::parameter(m, 1)), o = f.offset;
  frame_set_offset(f, {o.x + d.x, o.y + d.y, o.z + d.z});
}

template <typename T>
void scale_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  frame_set_scale(field<T>().frame, read_vector(macro::parameter(m, 1)));
}

template <typename T>
void scale_fn(macroengine& m) { macro::value_set(m, vector_text(frame_scale(field<T>().frame))); }

// Each matrix row times its component of <a,b,c>; a zero component leaves its row.
template <typename T>
void scale_mul_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  frame& f = field<T>().frame;
  framemath::vector s = read_vector(macro::parameter(m, 1));
  const double k[3] = {s.x, s.y, s.z};
  framemath::matrix a = f.matrix;
  for (int r = 0; r < 3; ++r)
    if (k[r] != 0)
      for (int c = 0; c < 3; ++c) a.m[3 * r + c] *= k[r];
  frame_set_matrix(f, a);
}

// The whole matrix over the shortest row length, so that the smallest voxel step is 1.
template <typename T>
void scale_norm_cmd(macroengine&) {
  frame& f = field<T>().frame;
  framemath::vector s = frame_scale(f);
  double least = std::min({s.x, s.y, s.z});
  if (!(least > 0)) return;
  framemath::matrix a = f.matrix;
  for (double& e : a.m) e /= least;
  frame_set_matrix(f, a);
}

template <typename T>
void matrix_fn(macroengine& m) { macro::value_set(m, matrix_text(field<T>().frame.matrix)); }
template <typename T, int R>
void matrix_row_fn(macroengine& m) { macro::value_set(m, vector_text(field<T>().frame.matrix.row(R))); }

// Three rows, as three parameters or as nine numbers in one; a zero row falls back to the identity.
template <typename T>
void matrix_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n != 1 && n != 3) return macro::check_exact(m, 3);
  framemath::matrix a;
  if (n == 1) read_numbers(macro::parameter(m, 1), a.m, 9);
  else
    for (int r = 0; r < 3; ++r) read_numbers(macro::parameter(m, std::size_t(r + 1)), a.m + 3 * r, 3);
  for (int r = 0; r < 3; ++r)
    if (a.row(r) == framemath::vector{}) {
      print::line(u"Error! Wrong matrix " + matrix_text(a) + u" -> (<1,0,0>;<0,1,0>;<0,0,1>).");
      a = framemath::matrix{};
      break;
    }
  frame_set_matrix(field<T>().frame, a);
}

template <typename T>
void unflip_cmd(macroengine&) { frame_unflip(field<T>().frame); }
template <typename T>
void unrotate_cmd(macroengine&) { frame_unrotate(field<T>().frame); }

template <typename T>
void l2g_fn(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  macro::value_set(m, vector_text(l2g(field<T>().frame, read_vector(macro::parameter(m, 1)))));
}

template <typename T>
void g2l_fn(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  macro::value_set(m, natvector_text(g2l(field<T>().frame, read_vector(macro::parameter(m, 1)))));
}

// Three-dimensional fields: half the size, and the origin put in the middle.
template <typename T>
void center_fn(macroengine& m) {
  const T& f = field<T>();
  macro::value_set(m, vector_text({double(f.width) / 2, double(f.height) / 2, double(f.depth) / 2}));
}

template <typename T>
void center_cmd(macroengine&) {
  T& f = field<T>();
  framemath::vector s = frame_scale(f.frame);
  frame_set_offset(f.frame, {double(f.width) * s.x / 2, double(f.height) * s.y / 2, double(f.depth) * s.z / 2});
}

// The shared handlers of one family, for its command table: `shared::origin_fn` and so on.
template <typename T>
struct handlers {
  static constexpr handler center_fn = frame_cmd::center_fn<T>, center_cmd = frame_cmd::center_cmd<T>,
                           origin_fn = frame_cmd::origin_fn<T>, origin_cmd = frame_cmd::origin_cmd<T>,
                           origin_add_cmd = frame_cmd::origin_add_cmd<T>, scale_cmd = frame_cmd::scale_cmd<T>,
                           scale_fn = frame_cmd::scale_fn<T>, scale_mul_cmd = frame_cmd::scale_mul_cmd<T>,
                           scale_norm_cmd = frame_cmd::scale_norm_cmd<T>, matrix_fn = frame_cmd::matrix_fn<T>,
                           matrix_v1 = frame_cmd::matrix_row_fn<T, 0>, matrix_v2 = frame_cmd::matrix_row_fn<T, 1>,
                           matrix_v3 = frame_cmd::matrix_row_fn<T, 2>, matrix_cmd = frame_cmd::matrix_cmd<T>,
                           unflip_cmd = frame_cmd::unflip_cmd<T>, unrotate_cmd = frame_cmd::unrotate_cmd<T>,
                           l2g_fn = frame_cmd::l2g_fn<T>, g2l_fn = frame_cmd::g2l_fn<T>;
};

}  // namespace qv::frame_cmd
