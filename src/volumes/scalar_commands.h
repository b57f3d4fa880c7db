// scalar_commands.h: registrars of the `scalar.` commands and the operations other families call.
#pragma once
#include "engine/macroengine.h"
#include "volumes/scalarfield.h"

namespace qv::scalar {
// All `scalar.` commands of this folder: state, frame, files and labels.
void register_commands(macroengine& m);
void register_files(macroengine& m);   // called by `register_commands`
// The volume operations, in the same way: combinations and masks, cropping and
// scaling, merging of files, morphology and the 27-voxel filters.
void register_combine(macroengine& m);
void register_resample(macroengine& m);
void register_append(macroengine& m);
void register_morph(macroengine& m);
void register_filter(macroengine& m);
void register_tone(macroengine& m);
void register_samples(macroengine& m);
// Brings a second field to the size and frame of `like`, keeping its type, and
// prints "  Assigned scalar field (x x y x z) updated.".
void assign_size(scalarfield& f, const scalarfield& like);
}  // namespace qv::scalar
