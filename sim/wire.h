// The controller's side of the wire format: integer units and reply objects.
//
// Every number on the wire is an integer. The controller holds its values in SI units and
// converts them with the factors below, rounding to the nearest wire unit (a value of
// 0.2405 m is 240500 micrometres, not 240499).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <cjson/cJSON.h>

namespace zqsim {
namespace wire {

constexpr double kAngle = 1000.0;          // joint angles and position limits: 0.001 degree
constexpr double kLength = 1000000.0;      // positions and DH lengths: micrometres
constexpr double kEuler = 1000.0;          // Euler angles: 0.001 radian
constexpr double kDhAngle = 1000.0;        // DH twist and offset: 0.001 degree
constexpr double kPayload = 1000.0;        // grams
constexpr double kJointRate = 1000.0 / 6;  // joint speed and acceleration limits: deg/s -> 0.001 rpm

// `value` × `factor`, rounded to the nearest integer.
std::int64_t scaled(double value, double factor);

// A new reply object whose first member is "command": `key`.
cJSON* reply(const char* key);

// Adds an array of integers under `name`.
void add_int_array(cJSON* obj, const char* name, const std::vector<std::int64_t>& values);

// Prints `obj` unformatted (one line, no CR LF) and deletes it.
std::string print_and_delete(cJSON* obj);

// The string member `name` of a request, or "" when it is missing or no string.
std::string string_member(const cJSON* obj, const char* name);

}  // namespace wire
}  // namespace zqsim
