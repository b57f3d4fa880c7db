// nifti_header.cpp: NIfTI-1 header fields at their byte offsets, type codes, the frame of a header and the `scalar.info` lines.
//
// Known limits: NIfTI-2 headers (540 bytes) are recognised and refused; header
// extensions past the 4-byte extender are skipped, never read.
#include "volumes/formats/nifti_header.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "foundation/numbertext.h"

namespace qv::nifti {
namespace {

// Writes copy host order to the file, which is little-endian by definition.
static_assert(std::endian::native == std::endian::little);

// Field-by-field access at fixed offsets, in either byte order.
struct fieldio {
  std::uint8_t* p;
  bool swap;
  template <typename T>
  void get(std::size_t at, T& v) const {
    std::uint8_t b[sizeof(T)];
    std::memcpy(b, p + at, sizeof(T));
    if (swap)
      for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(b[i], b[sizeof(T) - 1 - i]);
    std::memcpy(&v, b, sizeof(T));
  }
  template <typename T>
  void get_array(std::size_t at, T* v, int n) const {
    for (int i = 0; i < n; ++i) get(at + std::size_t(i) * sizeof(T), v[i]);
  }
  template <typename T>
  void put(std::size_t at, T v) const {   // the writer's order is always little-endian
    std::memcpy(p + at, &v, sizeof(T));
  }
  template <typename T>
  void put_array(std::size_t at, const T* v, int n) const {
    for (int i = 0; i < n; ++i) put(at + std::size_t(i) * sizeof(T), v[i]);
  }
};

// The one table of fields: `read` or write each in turn.
template <bool reading>
void walk(header& h, const fieldio& io) {
  auto one = [&](std::size_t at, auto& v) {
    if constexpr (reading) io.get(at, v);
    else io.put(at, v);
  };
  auto many = [&](std::size_t at, auto* v, int n) {
    if constexpr (reading) io.get_array(at, v, n);
    else io.put_array(at, v, n);
  };
  one(0, h.sizeof_hdr);
  one(38, h.regular);
  one(39, h.dim_info);
  many(40, h.dim, 8);
  many(56, h.intent_p, 3);
  one(68, h.intent_code);
  one(70, h.datatype);
  one(72, h.bitpix);
  one(74, h.slice_start);
  many(76, h.pixdim, 8);
  one(108, h.vox_offset);
  one(112, h.scl_slope);
  one(116, h.scl_inter);
  one(120, h.slice_end);
  one(122, h.slice_code);
  one(123, h.xyzt_units);
  one(124, h.cal_max);
  one(128, h.cal_min);
  one(132, h.slice_duration);
  one(136, h.toffset);
  many(148, h.descrip, 80);
  many(228, h.aux_file, 24);
  one(252, h.qform_code);
  one(254, h.sform_code);
  many(256, h.quatern, 3);
  many(268, h.qoffset, 3);
  for (int r = 0; r < 3; ++r) many(280 + std::size_t(r) * 16, h.srow[r], 4);
  many(328, h.intent_name, 16);
  many(344, h.magic, 4);
}

std::int32_t first_int(std::string_view b, bool swap) {
  std::uint8_t t[4];
  std::memcpy(t, b.data(), 4);
  if (swap) std::swap(t[0], t[3]), std::swap(t[1], t[2]);
  std::int32_t v;
  std::memcpy(&v, t, 4);
  return v;
}

}  // namespace

headerkind parse(std::string_view bytes, header& h, bool& swapped) {
  h = header{};
  swapped = false;
  if (bytes.size() < header_size) return headerkind::wrong;
  std::int32_t n = first_int(bytes, false);
  if (n != 348 && n != 540) swapped = true;
  std::uint8_t copy[header_size];
  std::memcpy(copy, bytes.data(), header_size);
  walk<true>(h, fieldio{copy, swapped});
  if (h.sizeof_hdr == 540) return headerkind::nifti2;
  return h.sizeof_hdr == 348 ? headerkind::nifti1 : headerkind::wrong;
}

std::string bytes_of(const header& h) {
  std::string out(header_size, '\0');
  header copy = h;
  walk<false>(copy, fieldio{reinterpret_cast<std::uint8_t*>(out.data()), false});
  return out;
}

int storage_code(int bitpix, int datatype) {
  struct pair {
    int bitpix, datatype, code;
  };
  static constexpr pair table[] = {
      {8, 2, 8},       {8, 256, -8},    {16, 512, 16},     {16, 4, -16},    {32, 768, 32},
      {32, 8, -32},    {64, 1280, 64},  {64, 1024, -64},   {32, 16, 1032},  {64, 64, 1064},
      {24, 128, 2024}, {32, 2304, 2032},
  };
  for (const pair& p : table)
    if (p.bitpix == bitpix && p.datatype == datatype) return p.code;
  return 0;
}

void transformation(const header& h, framemath::matrix& m, framemath::vector& offset) {
  m = framemath::matrix{};
  offset = {};
  double* r = m.m;
  if (h.sform_code > 0) {
    for (int k = 0; k < 3; ++k)   // row k of the matrix is column k of the srows
      for (int a = 0; a < 3; ++a) r[3 * k + a] = h.srow[a][k];
    offset = {h.srow[0][3], h.srow[1][3], h.srow[2][3]};
  } else if (h.qform_code != 0) {
    double b = h.quatern[0], c = h.quatern[1], d = h.quatern[2];
    double a = std::sqrt(std::fabs(1 - b * b - c * c - d * d));
    // Columns of the rotation, one per index axis; qform_code stands where the
    // usual qfac would, so that an ordinary file (code 1) reads unchanged.
    double col[3][3] = {{a * a + b * b - c * c - d * d, 2 * (b * c + a * d), 2 * (b * d - a * c)},
                        {2 * (b * c - a * d), a * a + c * c - b * b - d * d, 2 * (c * d + a * b)},
                        {2 * (b * d + a * c), 2 * (c * d - a * b), a * a + d * d - c * c - b * b}};
    double scale[3] = {h.pixdim[1], h.pixdim[2], double(h.qform_code) * h.pixdim[3]};
    for (int k = 0; k < 3; ++k)
      for (int a2 = 0; a2 < 3; ++a2) r[3 * k + a2] = scale[k] * col[k][a2];
    offset = {h.qoffset[0], h.qoffset[1], h.qoffset[2]};
  } else {
    m = framemath::matrix{{h.pixdim[1], 0, 0, 0, h.pixdim[2], 0, 0, 0, h.pixdim[3]}};
  }
  for (int k = 0; k < 3; ++k)
    if (m.row(k) == framemath::vector{}) {
      double p = double(h.pixdim[1]) * h.pixdim[2] * h.pixdim[3];
      m = p > 0 ? framemath::matrix{{h.pixdim[1], 0, 0, 0, h.pixdim[2], 0, 0, 0, h.pixdim[3]}} : framemath::matrix{};
      break;
    }
}

void quaternion_of(const framemath::matrix& m, float bcd[3]) {
  double n[9];
  for (int k = 0; k < 3; ++k) {
    double len = framemath::length(m.row(k));
    for (int a = 0; a < 3; ++a) n[3 * k + a] = len > 0 ? m.m[3 * k + a] / len : (a == k ? 1 : 0);
  }
  // n is the rotation in row-vector form (row k = direction of index axis k), so
  // n[3*i+j] is R(j,i) of the column form the header's quaternion describes.
  auto R = [&](int i, int j) { return n[3 * j + i]; };
  double w, x, y, z, trace = R(0, 0) + R(1, 1) + R(2, 2);
  if (trace > 0) {
    double s = 2 * std::sqrt(1 + trace);
    w = s / 4, x = (R(2, 1) - R(1, 2)) / s, y = (R(0, 2) - R(2, 0)) / s, z = (R(1, 0) - R(0, 1)) / s;
  } else if (R(0, 0) > R(1, 1) && R(0, 0) > R(2, 2)) {
    double s = 2 * std::sqrt(std::fabs(1 + R(0, 0) - R(1, 1) - R(2, 2)));
    w = (R(2, 1) - R(1, 2)) / s, x = s / 4, y = (R(0, 1) + R(1, 0)) / s, z = (R(0, 2) + R(2, 0)) / s;
  } else if (R(1, 1) > R(2, 2)) {
    double s = 2 * std::sqrt(std::fabs(1 + R(1, 1) - R(0, 0) - R(2, 2)));
    w = (R(0, 2) - R(2, 0)) / s, x = (R(0, 1) + R(1, 0)) / s, y = s / 4, z = (R(1, 2) + R(2, 1)) / s;
  } else {
    double s = 2 * std::sqrt(std::fabs(1 + R(2, 2) - R(0, 0) - R(1, 1)));
    w = (R(1, 0) - R(0, 1)) / s, x = (R(0, 2) + R(2, 0)) / s, y = (R(1, 2) + R(2, 1)) / s, z = s / 4;
  }
  if (w < 0) x = -x, y = -y, z = -z;
  bcd[0] = float(x), bcd[1] = float(y), bcd[2] = float(z);
}

header make_header(std::int64_t nx, std::int64_t ny, std::int64_t nz, int datatype, int bitpix,
                   const framemath::matrix& m, framemath::vector offset, bool pair) {
  header h;
  h.sizeof_hdr = 348;
  h.regular = 'r';
  h.dim[0] = 3;
  h.dim[1] = std::int16_t(nx), h.dim[2] = std::int16_t(ny), h.dim[3] = std::int16_t(nz);
  for (int i = 4; i < 8; ++i) h.dim[i] = 1;
  h.datatype = std::int16_t(datatype);
  h.bitpix = std::int16_t(bitpix);
  h.pixdim[0] = 1;
  for (int k = 0; k < 3; ++k) h.pixdim[k + 1] = float(framemath::length(m.row(k)));
  for (int i = 4; i < 8; ++i) h.pixdim[i] = 1;
  h.vox_offset = pair ? 0 : float(data_start);
  h.scl_slope = 1;
  h.slice_code = 1;
  h.xyzt_units = 10;   // millimetres and seconds
  std::snprintf(h.descrip, sizeof h.descrip, "quorvex volume");
  h.qform_code = 1, h.sform_code = 1;
  quaternion_of(m, h.quatern);
  h.qoffset[0] = float(offset.x), h.qoffset[1] = float(offset.y), h.qoffset[2] = float(offset.z);
  double o[3] = {offset.x, offset.y, offset.z};
  for (int a = 0; a < 3; ++a) {
    for (int k = 0; k < 3; ++k) h.srow[a][k] = float(m.m[3 * k + a]);
    h.srow[a][3] = float(o[a]);
  }
  std::memcpy(h.magic, pair ? "ni1" : "n+1", 4);
  return h;
}

const char16_t* datatype_name(int datatype) {
  switch (datatype) {
    case 2: return u"INT8";   // the unsigned byte, named as the table has always named it
    case 4: return u"INT16";
    case 8: return u"INT32";
    case 16: return u"FLOAT32";
    case 32: return u"COMPLEX64";
    case 64: return u"FLOAT64";
    case 128: return u"RGB24";
    case 256: return u"INT8";
    case 512: return u"UINT16";
    case 768: return u"UINT32";
    case 1024: return u"INT64";
    case 1280: return u"UINT64";
    case 1536: return u"FLOAT128";
    case 1792: return u"COMPLEX128";
    case 2048: return u"COMPLEX256";
    default: return u"Unknown type";
  }
}

const char16_t* intent_name(int intent) {
  static constexpr const char16_t* statistic[] = {
      u"CORREL", u"TTEST", u"FTEST", u"ZSCORE", u"CHISQ", u"BETA", u"BINOM", u"GAMMA", u"POISSON", u"NORMAL",
      u"FTEST_NONC", u"CHISQ_NONC", u"LOGISTIC", u"LAPLACE", u"UNIFORM", u"TTEST_NONC", u"WEIBULL", u"CHI",
      u"INVGAUSS", u"EXTVAL", u"PVAL"};   // codes 2..22
  static constexpr const char16_t* other[] = {u"ESTIMATE", u"LABEL", u"NEURONAME", u"GENMATRIX", u"SYMMATRIX",
                                              u"DISPVECT", u"VECTOR", u"POINTSET", u"TRIANGLE", u"QUATERNION"};
  static_assert(std::size(statistic) == 21 && std::size(other) == 10);   // keep in step with the codes
  if (intent >= 2 && intent <= 22) return statistic[intent - 2];
  if (intent >= 1001 && intent <= 1010) return other[intent - 1001];
  return u"No intent";
}

namespace {

// Header floats as the shortest text that reads back as the same float.
widetext ftext(float v) {
  char b[32];
  std::snprintf(b, sizeof b, "%.7g", double(v));
  return real::text(std::strtod(b, nullptr));
}
widetext ntext(std::int64_t v) { return nat::text(v); }

widetext fixed_text(const char* p, std::size_t n) {
  std::size_t len = 0;
  while (len < n && p[len]) ++len;
  return text::from_utf8(std::string_view(p, len));
}

const char16_t* space_unit(int u) {
  switch (u & 7) {
    case 1: return u" m";
    case 2: return u" mm";
    case 3: return u" um";
    default: return u"";
  }
}

const char16_t* time_unit(int u) {
  switch (u & 0x38) {
    case 8: return u" s";
    case 16: return u" ms";
    case 24: return u" us";
    case 32: return u" Hz";
    case 40: return u" ppm";
    case 48: return u" rad/s";
    default: return u"";
  }
}

}  // namespace

std::vector<widetext> info_lines(const header& h) {
  std::vector<widetext> l;
  if (h.sizeof_hdr != 348) {
    l.push_back(u"Error (Header size = " + ntext(h.sizeof_hdr) + u")! Not a nifti 1 file format!");
    return l;
  }
  if (h.magic[0] == 'n' && h.magic[1] == '+')
    l.push_back(u"Nifti header of one file - NII Version " + widetext(1, char16_t(std::uint8_t(h.magic[2]))));
  else if (h.magic[0] == 'n')
    l.push_back(u"Nifti header - NII Version " + widetext(1, char16_t(std::uint8_t(h.magic[2]))));
  else
    l.push_back(u"Nifti header - HDR");
  l.push_back(u"==================");
  l.push_back(u"Description: " + fixed_text(h.descrip, 79));
  l.push_back(u"Header.");
  l.push_back(u"  Size: " + ntext(h.sizeof_hdr));
  l.push_back(u"Slices.");
  l.push_back(u"  Slice order: " + ntext(std::uint8_t(h.dim_info)) + u" Timing order: " + ntext(h.slice_code));
  l.push_back(u"  Slice start: " + ntext(h.slice_start) + u" End: " + ntext(h.slice_end));
  l.push_back(u"  Slice offset: " + ftext(h.scl_inter) + u" Slope: " + ftext(h.scl_slope));
  l.push_back(u"  Time offset: " + ftext(h.toffset) + u"  Duration: " + ftext(h.slice_duration));
  l.push_back(u"Affine transformtion (" + ntext(h.sform_code) + u").");
  for (int r = 0; r < 3; ++r)
    l.push_back(u"  " + ftext(h.srow[r][0]) + u"\t" + ftext(h.srow[r][1]) + u"\t" + ftext(h.srow[r][2]) + u"\t" +
                ftext(h.srow[r][3]));
  l.push_back(u"Quaternion (" + ntext(h.qform_code) + u").");
  l.push_back(u"  [a,b,c,d] = [sqrt(1.0-(b*b+c*c+d*d)), " + ftext(h.quatern[0]) + u", " + ftext(h.quatern[1]) +
              u", " + ftext(h.quatern[2]) + u"]");
  l.push_back(u"  offset = [" + ftext(h.qoffset[0]) + u", " + ftext(h.qoffset[1]) + u", " + ftext(h.qoffset[2]) + u"]");
  l.push_back(u"Data array dimensions (" + ntext(h.bitpix) + u" bits & " + datatype_name(h.datatype) +
              u") data type).");
  for (int i = 0; i < 8; ++i) l.push_back(u"  Dim[" + ntext(i) + u"] = " + ntext(h.dim[i]));
  l.push_back(u"Grid spacings.");
  l.push_back(u"  Pixdim[0] = qfac = " + ftext(h.pixdim[0]));
  for (int i = 1; i < 8; ++i)
    l.push_back(u"  Pixdim[" + ntext(i) + u"] = " + ftext(h.pixdim[i]) +
                (i <= 3 ? space_unit(h.xyzt_units) : time_unit(h.xyzt_units)));
  l.push_back(u"Data (" + ntext(h.intent_code) + u") Meaning: " + intent_name(h.intent_code) + u" [" +
              ftext(h.intent_p[0]) + u", " + ftext(h.intent_p[1]) + u", " + ftext(h.intent_p[2]) + u"] " +
              fixed_text(h.intent_name, 16));
  l.push_back(u"  Min intensity: " + ftext(h.cal_min) + u" Max intensity: " + ftext(h.cal_max));
  l.push_back(u"  Data offset: " + ftext(h.vox_offset));
  return l;
}

}  // namespace qv::nifti
