// families.cpp: calls every family's registrar in reference-macro order.
#include "app/families.h"

#include "engine/dumps.h"
#include "images/image_commands.h"
#include "images/image_files.h"
#include "images/workspace.h"
#include "library/basics.h"
#include "library/list.h"
#include "library/table.h"
#include "lines/line_commands.h"
#include "lines/line_files.h"
#include "meshes/mesh_commands.h"
#include "meshes/mesh_files.h"
#include "orientation/diffusion.h"
#include "orientation/tensor_commands.h"
#include "orientation/tensorfield.h"
#include "orientation/vector_commands.h"
#include "orientation/vector_files.h"
#include "orientation/vectorfield.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalarfield.h"

namespace qv::app {

void register_all(macroengine& m) {
  // Command library first, then the global workspace words and the field families.
  library::register_basics(m);
  library::register_run(m);
  library::register_random(m);
  library::register_time(m);
  library::register_number_settings(m);
  library::register_calculator(m);
  lists::register_commands(m);
  tables::register_commands(m);
  macro::register_dumps(m);   // `dump.`: the last of the command library
  workspace::register_global(m);
  image::register_commands(m);
  image::register_files(m);
  image::register_diffusion(m);
  workspace::register_family<scalarfield>(m);
  scalar::register_commands(m);
  scalar::register_diffusion(m);
  scalar::register_diffusion_points(m);
  scalar::register_connection(m);
  workspace::register_family<vectorfield>(m);
  vector::register_commands(m);
  vector::register_files(m);
  vector::register_resample(m);
  line::register_stream(m);
  workspace::register_family<tensorfield>(m);
  tensor::register_commands(m);
  tensor::register_measures(m);
  tensor::register_files(m);
  tensor::register_resample(m);
  meshes::register_commands(m);
  meshes::register_files(m);
  line::register_commands(m);
  line::register_files(m);
}

}  // namespace qv::app
