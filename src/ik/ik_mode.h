// The redundancy mode pair of the seven-joint solvers: the mode and the step
// that goes with it, and whether the application has chosen a mode yet.
// Process-wide and unguarded, like the arm model.
#pragma once

namespace zq {

constexpr float kTrackingStep = 0.013f;
constexpr float kTraversalStep = 3.14f;

// 1: neighbourhood tracking of the redundant parameter; 0: full traversal.
int redundancy_mode();
float redundancy_step();
bool traversal_mode_pristine();

// Each setter keeps the pair consistent.
void set_redundancy_step(float step);
void set_redundancy_mode(int mode);
void clear_traversal_mode_pristine();

}  // namespace zq
