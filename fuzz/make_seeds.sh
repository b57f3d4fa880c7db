#!/usr/bin/env bash
# make_seeds.sh <quorvex>: writes the seed corpora of fuzz/corpus/ with the program's own
# writers and a few hand-made files. Deterministic; the seeds are committed.
set -eu
prog=$(readlink -f "$1")
here=$(cd "$(dirname "$0")" && pwd)
c=$here/corpus
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT; cd "$tmp"
cat > w.macro <<'M'
debug.no
scalar.8bit
scalar.new <4,3,2>
scalar.setvalue <0,0> 7
scalar.save s.nii
scalar.save s.nii.gz
scalar.save a.hdr
image.8bit
image.new 4 3
image.save i.pgm
image.save i.bmp
vector.new <3,2,2>
vector.save v.nii
vector.save v.nii.gz
vector.save v.txt
tensor.new <2,2,1>
tensor.save t.nii
scalar.surface <1,255>
mesh.save m.obj
mesh.save m.ply
mesh.save.ply.ascii ma.ply
mesh.save m.stl
mesh.save m.dxf
list.real
list.use r
list.push 1.5 -2 3e4
list.save l.txt
M
"$prog" -strict -macro=w.macro > /dev/null 2>&1 || true
put() { mkdir -p "$c/$1"; for f in "${@:2}"; do [ -s "$f" ] && cp "$f" "$c/$1/"; done; return 0; }
put pnm i.pgm; put bmp i.bmp; put nifti s.nii; put analyze a.hdr
put vectornii v.nii; put vectortext v.txt; put tensornii t.nii
put obj m.obj; put ply m.ply ma.ply; put stl m.stl; put dxf m.dxf; put list l.txt
# gzip targets get the unpacked bytes: the harness packs them
mkdir -p "$c/niftigz" "$c/vectorgz"; gzip -dc s.nii.gz > "$c/niftigz/s.nii"; gzip -dc v.nii.gz > "$c/vectorgz/v.nii"
mkdir -p "$c/table" "$c/labels" "$c/lines" "$c/vrml" "$c/pov" "$c/imgf" "$c/rgbfile" "$c/raw" "$c/macro" "$c/real" "$c/ini"
printf 'name\tx\ty\r\na b\t1,5\t2\r\nc\t3\t4' > "$c/table/t.txt"
printf '1\tgrey matter\n2\twhite matter\n' > "$c/labels/l.txt"
printf '0 0 0 1\n1 0 0 2\n\n2 2 2 0\n3 3 3 1\n' > "$c/lines/l.txt"
printf '#VRML V2.0 utf8\nShape { geometry IndexedFaceSet { coord Coordinate { point [ 0 0 0, 1 0 0, 0 1 0 ] } coordIndex [ 0, 1, 2, -1 ] } }\n' > "$c/vrml/m.wrl"
printf 'mesh2 {\n vertex_vectors { 3, <0,0,0>, <1,0,0>, <0,1,0> }\n face_indices { 1, <0,1,2> }\n}\n' > "$c/pov/m.pov"
printf 'IMGF' > "$c/imgf/h.imgf"; head -c 64 /dev/zero > "$c/rgbfile/z.rgb"; head -c 260 /dev/zero > "$c/raw/z.raw"
printf 'debug.no\na := 1 2\nb := stack 2 3 + 4 *\nif 1\nprint a b\nend\nlist.push 1 2\nc := list.pop\n' > "$c/macro/m.macro"
printf '1.5e3 mm' > "$c/real/a"; printf -- '-0,25' > "$c/real/b"
printf 'macro=x.macro\nverbose=off\n' > "$c/ini/q.ini"
echo "seeds in $c: $(find "$c" -type f | wc -l) files"
