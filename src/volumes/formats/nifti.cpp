// nifti.cpp: reading and writing scalar volumes as NIfTI-1 single files, Analyze/NIfTI pairs and their gzip forms.
//
// Known limits: NIfTI-2 is refused; scl_slope and scl_inter are not applied;
// sizes above 32767 per axis cannot be written (the header holds 16 bits);
// a matrix with a mirror cannot be told by the quaternion (the srows hold it).
#include "volumes/formats/nifti.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "foundation/packedfile.h"
#include "foundation/progress.h"
#include "volumes/formats/read_stack.h"

namespace qv::scalar {

std::string lower_name(const std::string& name) {
  std::string s = name;
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = char(c + 32);
  return s;
}

bool ends_with(const std::string& s, const char* tail) { return s.ends_with(tail); }

namespace {

struct stdfile {   // closes itself
  std::FILE* f = nullptr;
  explicit stdfile(const std::string& name, const char* mode) : f(std::fopen(name.c_str(), mode)) {}
  stdfile(const stdfile&) = delete;
  stdfile& operator=(const stdfile&) = delete;
  ~stdfile() {
    if (f) std::fclose(f);
  }
};

struct gzfile {
  gzFile g = nullptr;
  explicit gzfile(const std::string& name, const char* mode) : g(gzopen(name.c_str(), mode)) {}
  gzfile(const gzfile&) = delete;
  gzfile& operator=(const gzfile&) = delete;
  ~gzfile() {
    if (g) gzclose(g);
  }
};

std::int64_t file_size(std::FILE* f) {
  if (fseeko(f, 0, SEEK_END) != 0) return 0;
  std::int64_t n = std::int64_t(ftello(f));
  fseeko(f, 0, SEEK_SET);
  return n < 0 ? 0 : n;
}

enum class form { single, pair };

struct location {
  form kind = form::single;
  bool gz = false;
  std::string header, data;   // file names; equal for the single form
};

// "a.hdr", "a.img" and their ".gz" forms name a pair; anything else one file.
location locate(const std::string& name) {
  location at;
  std::string low = lower_name(name);
  at.gz = ends_with(low, ".gz");
  std::string base = at.gz ? name.substr(0, name.size() - 3) : name;
  std::string lowbase = lower_name(base);
  if (ends_with(lowbase, ".hdr") || ends_with(lowbase, ".img")) {
    at.kind = form::pair;
    std::string stem = base.substr(0, base.size() - 4);
    std::string z = at.gz ? ".gz" : "";
    at.header = stem + ".hdr" + z;
    at.data = stem + ".img" + z;
    // A pair may have one part zipped and the other not.
    if (!file::exists(text::from_utf8(at.header))) at.header = stem + ".hdr" + (at.gz ? "" : ".gz");
    if (!file::exists(text::from_utf8(at.data))) at.data = stem + ".img" + (at.gz ? "" : ".gz");
  } else {
    at.header = at.data = name;
  }
  return at;
}

bool zipped(const std::string& name) { return ends_with(lower_name(name), ".gz"); }

// A file whose name says gzip must hold gzip.
bool open_zipped(packedfile& p, const std::string& name) { return packed::open(p, name) && p.zipped; }

// The first 348 bytes of a header file, zipped or not.
bool header_bytes(const std::string& name, std::string& out) {
  if (zipped(name)) {
    packedfile p;
    if (!open_zipped(p, name)) return false;
    out.resize(nifti::header_size);
    out.resize(packed::read(p, out.data(), out.size()));
    return true;
  }
  stdfile f(name, "rb");
  if (!f.f) return false;
  out.assign(nifti::header_size, '\0');
  out.resize(std::fread(out.data(), 1, nifti::header_size, f.f));
  return true;
}

widetext wide(const std::string& s) { return text::from_utf8(s); }

void fail(scalarfield& f, std::uint8_t tag, wideview line) {
  print::line(line);
  create(f, tag, 0, 0, 0);
}

// The sizes to read and the selected stack, after the header's dims are tidied.
struct dimplan {
  std::int64_t nx = 0, ny = 0, nz = 0, stack = 1, stacks = 1;
  bool good = false;
  widetext reason;
};

dimplan plan_dims(const nifti::header& h, std::int64_t selected) {
  std::int64_t d[8];
  for (int i = 0; i < 8; ++i) d[i] = h.dim[i];
  if (d[4] < 2) {
    if (d[4] < 1) d[4] = 1;
  } else if (d[1] == 1 || d[2] == 1 || d[3] == 1) {   // a singleton spatial axis gives way to the fourth
    if (d[1] == 1) d[1] = d[2], d[2] = d[3], d[3] = d[4];
    else if (d[2] == 1) d[2] = d[3], d[3] = d[4];
    else d[3] = d[4];
    d[4] = 1;
  }
  dimplan p;
  p.nx = d[1], p.ny = d[2], p.nz = d[3];
  std::int64_t s = selected;
  if (s < 0) s += d[4] + 1;
  if (s < 1) s = 1;
  p.stack = s;
  bool ok = d[0] >= 3 && d[0] <= 7;
  for (int i = 1; ok && i <= d[0]; ++i) ok = d[i] >= 1;
  if (!ok) {
    widetext t = u"  Bad dim size (" + nat::text(d[1]);
    for (int i = 2; i <= std::clamp<std::int64_t>(d[0], 3, 7); ++i) t += u"x" + nat::text(d[i]);
    p.reason = t + u")! Create empty field.";
    return p;
  }
  for (int i = 4; i <= d[0]; ++i) p.stacks *= d[i];
  if (d[0] == 3) p.stacks = d[4];
  if (s > p.stacks) {
    p.reason = u"  Wrong selected stack " + nat::text(s) + u" from [1.." + nat::text(p.stacks) + u"]! Create empty field.";
    return p;
  }
  p.good = true;
  return p;
}

}  // namespace

void frame_from_header(const nifti::header& h, qv::frame& fr) {
  framemath::matrix m;
  framemath::vector o;
  nifti::transformation(h, m, o);
  frame_set_matrix(fr, m);
  frame_set_offset(fr, o);
}

bool read_header(const std::string& name, nifti::header& h, bool& swapped) {
  location at = locate(name);
  std::string bytes;
  if (!header_bytes(at.header, bytes)) {
    print::line(u"  Couldn't read File (" + wide(name) + u")! Create empty field.");
    return false;
  }
  nifti::headerkind k = nifti::parse(bytes, h, swapped);
  if (k == nifti::headerkind::nifti2) print::line(u"  Nifti-2 currently not supported! Create empty field.");
  if (k == nifti::headerkind::wrong) print::line(u"  Wrong header! Create empty field.");
  return k == nifti::headerkind::nifti1;
}

bool load_framework(scalarfield& f, std::uint8_t tag, const std::string& name) {
  nifti::header h;
  bool swapped = false;
  if (!read_header(name, h, swapped)) return create(f, tag, 0, 0, 0), false;
  dimplan dims = plan_dims(h, 1);
  if (!dims.good) return fail(f, tag, dims.reason), false;
  if (!create_checked(f, tag, dims.nx, dims.ny, dims.nz)) return false;
  frame_from_header(h, f.frame);
  return true;
}

bool load_nifti(scalarfield& f, std::uint8_t tag, const std::string& name, std::int64_t stack) {
  location at = locate(name);
  std::string memory;   // the header of a pair
  // A zipped single file is read as a stream: header first, then the voxels
  // straight into the field, with no copy of the whole file between.
  packedfile packed_single, packed_data;
  stdfile plain(at.kind == form::single && !at.gz ? at.header : std::string(), "rb");
  bool opened = at.gz && at.kind == form::single ? open_zipped(packed_single, at.header)
                : at.kind == form::pair          ? header_bytes(at.header, memory)
                                                 : plain.f != nullptr;
  if (!opened) return fail(f, tag, u"  Couldn't read File (" + wide(name) + u")! Create empty field."), false;
  print::line(u"Read file (" + wide(name) + u").");

  bytesource src;
  if (plain.f) {
    src.file = plain.f;
    src.size = file_size(plain.f);
  } else if (packed_single) {
    src.stream = &packed_single;
    src.size = packed::bound(packed_single);
  } else {
    src.memory = memory;
    src.size = std::int64_t(memory.size());
  }
  std::string head(nifti::header_size, '\0');
  if (!src.read(0, head.data(), head.size())) head.clear();
  nifti::header h;
  bool swap = false;
  switch (nifti::parse(head, h, swap)) {
    case nifti::headerkind::nifti2: return fail(f, tag, u"  Nifti-2 currently not supported! Create empty field."), false;
    case nifti::headerkind::wrong: return fail(f, tag, u"  Wrong header! Create empty field."), false;
    default: break;
  }

  dimplan dims = plan_dims(h, stack);
  // vox_offset 0 (and anything up to the extender's end) means the data follow at 352.
  std::int64_t offset = nifti::data_start;
  if (h.vox_offset > float(nifti::data_start)) offset = std::llround(std::min(double(h.vox_offset), 1e18));
  stdfile pairdata(at.kind == form::pair && !zipped(at.data) ? at.data : std::string(), "rb");
  if (at.kind == form::pair) {
    offset = 0;
    bool ok = zipped(at.data) ? open_zipped(packed_data, at.data) : pairdata.f != nullptr;
    if (!ok) {
      if (!dims.good)
        return fail(f, tag, u"  Couldn't read File (" + wide(name) + u") and bad dim size! Create empty field."), false;
      print::line(u"  Couldn't read File (" + wide(name) + u")! Create field without values.");
      if (!create_checked(f, tag, dims.nx, dims.ny, dims.nz)) return false;
      frame_from_header(h, f.frame);
      return false;
    }
    src = bytesource{};
    if (pairdata.f) src.file = pairdata.f, src.size = file_size(pairdata.f);
    else src.stream = &packed_data, src.size = packed::bound(packed_data);
  }
  if (!dims.good) return fail(f, tag, dims.reason), false;
  int code = nifti::storage_code(h.bitpix, h.datatype);
  if (!code) return fail(f, tag, u"  Bad dim values! Create empty field."), false;

  stackrequest r;
  r.code = code;
  r.swap = swap;
  r.nx = dims.nx, r.ny = dims.ny, r.nz = dims.nz;
  r.offset = offset + (dims.stack - 1) * dims.nx * dims.ny * dims.nz * stored_bytes(code);
  r.filter_offset = f.load_filter_offset, r.filter_factor = f.load_filter_factor;
  if (code == 1032 || code == 1064) r.range_min = h.cal_min, r.range_max = h.cal_max;
  f.tag = scalartag(tag);
  bool ok = read_stack(f, src, r);
  frame_from_header(h, f.frame);
  print::line(u"  Transformation: " + matrix_text(f.frame.matrix) + u" + " + vector_text(f.frame.offset));
  std::size_t len = 0;
  while (len < 79 && h.descrip[len]) ++len;
  f.description = wide(std::string(h.descrip, len));
  f.filename = wide(name);
  load_labels_beside(f, name);
  return ok;
}

namespace {

// Writes through stdio or zlib's gzip interface.
struct outfile {
  stdfile plain;
  gzfile zip;
  bool gz;
  outfile(const std::string& name, bool z)
      : plain(z ? std::string() : name, "wb"), zip(z ? name : std::string(), "wb6"), gz(z) {
    if (gz && zip.g) gzbuffer(zip.g, 1 << 18);
  }
  bool open() const { return gz ? zip.g != nullptr : plain.f != nullptr; }
  bool write(const void* p, std::size_t n) {
    if (!gz) return std::fwrite(p, 1, n, plain.f) == n;
    const char* c = static_cast<const char*>(p);
    while (n) {
      unsigned k = unsigned(std::min<std::size_t>(n, 1u << 30));
      if (gzwrite(zip.g, c, k) != int(k)) return false;
      c += k, n -= k;
    }
    return true;
  }
  bool close() {
    if (gz) {
      int e = gzclose(zip.g);
      zip.g = nullptr;
      return e == Z_OK;
    }
    int e = std::fclose(plain.f);
    plain.f = nullptr;
    return e == 0;
  }
};

constexpr std::size_t block_bytes = 1 << 23;   // voxels go out in blocks of this size

// Voxels in x-fastest order as bytes; mono as 0 and 1.
bool write_voxels(outfile& out, const scalarfield& f, wideview title) {
  std::size_t n = std::size_t(voxel_count(f));
  std::vector<std::uint8_t> block;
  for (std::size_t i = 0; i < n;) {
    bool ok = true;
    std::size_t k = 0;
    switch (f.tag) {
      case scalartag::fullgray:
        k = std::min(n - i, block_bytes / 2);
        ok = out.write(f.fullvoxels.data() + i, k * 2);
        break;
      case scalartag::gray:
        k = std::min(n - i, block_bytes);
        ok = out.write(f.grayvoxels.data() + i, k);
        break;
      default:
        k = std::min(n - i, block_bytes);
        block.resize(k);
        for (std::size_t j = 0; j < k; ++j) block[j] = (f.monobits[(i + j) >> 3] >> ((i + j) & 7)) & 1;
        ok = out.write(block.data(), k);
        break;
    }
    if (!ok) return false;
    i += k;
    progress::set(double(i) / double(n), title);
  }
  progress::end(title);
  return true;
}

const char16_t* type_title(scalartag t) {
  return t == scalartag::fullgray ? u"  3DFullgrey" : t == scalartag::mono ? u"  3DMono" : u"  3DGrey";
}

}  // namespace

std::string save_nifti(const scalarfield& f, const std::string& name) {
  std::string low = lower_name(name), out = name;
  bool gz = ends_with(low, ".gz");
  std::string lowbase = gz ? low.substr(0, low.size() - 3) : low;
  bool pair = ends_with(lowbase, ".hdr") || ends_with(lowbase, ".img");
  if (!pair && !ends_with(lowbase, ".nii")) out += ".nii", gz = false;
  if (!ifscalar(f)) {
    print::line(u"Error! Empty scalarfield!");
    return {};
  }
  if (f.width > 32767 || f.height > 32767 || f.depth > 32767) {
    print::line(u"  Field too large for NIfTI-1 (" + workspace_traits<scalarfield>::size(f) + u")!");
    return {};
  }
  bool full = f.tag == scalartag::fullgray;
  nifti::header h = nifti::make_header(f.width, f.height, f.depth, full ? 512 : 2, full ? 16 : 8, f.frame.matrix,
                                       f.frame.offset, pair);
  std::string bytes = nifti::bytes_of(h);
  std::string headname = out, dataname = out;
  if (pair) {
    std::string stem = out.substr(0, out.size() - (gz ? 7 : 4)), z = gz ? ".gz" : "";
    headname = stem + ".hdr" + z, dataname = stem + ".img" + z;
  } else {
    bytes.append(4, '\0');   // the extender: no extensions follow
  }
  print::line(u"Write file (" + wide(headname) + u").");
  widetext title = type_title(f.tag) + widetext(u" with (") + workspace_traits<scalarfield>::size(f) + u")";
  {
    outfile o(headname, gz);
    if (!o.open() || !o.write(bytes.data(), bytes.size())) {
      print::line(u"  Couldn't write File (" + wide(headname) + u")!");
      return {};
    }
    if (!pair && !(write_voxels(o, f, title) && o.close())) {
      print::line(u"  Couldn't write File (" + wide(headname) + u")!");
      return {};
    }
    if (pair && !o.close()) return {};
  }
  if (pair) {
    outfile o(dataname, gz);
    if (!o.open() || !write_voxels(o, f, title) || !o.close()) {
      print::line(u"  Couldn't write File (" + wide(dataname) + u")!");
      return {};
    }
  }
  return headname;
}

std::vector<widetext> info(const std::string& name) {
  std::string low = lower_name(name);
  bool gz = ends_with(low, ".gz");
  std::string base = gz ? low.substr(0, low.size() - 3) : low;
  bool nifti_name = ends_with(base, ".nii") || ends_with(base, ".hdr") || ends_with(base, ".img") ||
                    ends_with(base, ".nifti");
  if (!nifti_name) {
    std::size_t slash = name.find_last_of('/'), dot = base.find_last_of('.');
    std::string stem = dot != std::string::npos && (slash == std::string::npos || dot > slash) ? name.substr(0, dot) : name;
    if (gz) return {u"Zipped file not provided!"};
    if (ends_with(base, ".mif") || ends_with(base, ".mifx")) return {u"Header file inside (" + wide(stem) + u".m?f*)!"};
    if (ends_with(base, ".pcr")) return {u"Header file inside (" + wide(stem) + u".pcr)!"};
    return {u"Not provided!"};
  }
  location at = locate(name);
  std::string bytes;
  if (!header_bytes(at.header, bytes) || bytes.size() < nifti::header_size)
    return {u"  Couldn't read File (" + wide(name) + u")!"};
  nifti::header h;
  bool swapped = false;
  nifti::parse(bytes, h, swapped);
  return nifti::info_lines(h);
}

}  // namespace qv::scalar
