// What the hand-written and the generated parts of the module zq._zq share: the Python arm and
// the conversions of record fields.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "zq/arm.hpp"

namespace py = pybind11;

namespace zqpy {

// Blocking calls whose worker threads are still running (one may outlive an interrupted call).
inline std::atomic<int>& workers_running() {
    static std::atomic<int> n{0};
    return n;
}

// An arm of Python: the C++ arm, shared with a move's worker thread, which may outlive an
// interrupted call.
struct PyArm {
    std::shared_ptr<zq::Arm> arm;
    std::string host;  // where it was connected, for its repr
    int port = 0;

    zq::Arm& a() {
        if (!arm) throw zq::Error(-1, "the arm is closed");
        return *arm;
    }
    // Runs a C call without the GIL.
    template <class F>
    auto nogil(F&& f) -> decltype(f(a())) {
        zq::Arm& x = a();
        py::gil_scoped_release release;
        return f(x);
    }
    // A blocking call on a worker thread while the caller watches for signals: Ctrl-C stops
    // the arm and raises KeyboardInterrupt at once; the worker ends with the library's wait.
    template <class F>
    void move(F f) {
        a();
        std::shared_ptr<zq::Arm> x = arm;
        auto result = std::make_shared<std::promise<void>>();
        std::future<void> done = result->get_future();
        workers_running().fetch_add(1);
        std::thread([x, f, result]() mutable {
            try {
                f(*x);
                result->set_value();
            } catch (...) {
                result->set_exception(std::current_exception());
            }
            x.reset();  // the arm goes before the count does
            workers_running().fetch_sub(1);
        }).detach();
        for (;;) {
            {
                py::gil_scoped_release release;
                if (done.wait_for(std::chrono::milliseconds(20)) == std::future_status::ready) break;
            }
            if (PyErr_CheckSignals() != 0) {
                py::error_already_set interrupted;
                {
                    py::gil_scoped_release release;
                    zq_set_arm_stop(x->handle());
                }
                throw interrupted;
            }
        }
        done.get();
    }
};

// ---- record fields: fixed texts as str, fixed arrays as lists, both bounded ----

template <std::size_t N>
std::string text_of(const char (&s)[N]) {
    return zq::detail::text_of(s);
}

template <std::size_t N>
void set_text(char (&s)[N], const std::string& v, const char* field) {
    if (v.size() >= N)
        throw py::value_error(std::string(field) + ": at most " + std::to_string(N - 1) + " characters");
    std::memset(s, 0, N);
    std::memcpy(s, v.data(), v.size());
}

template <class T, std::size_t N>
std::vector<T> list_of(const T (&a)[N]) {
    return std::vector<T>(a, a + N);
}

template <class T, std::size_t N>
void set_list(T (&a)[N], const py::sequence& v, const char* field) {
    if (v.size() > N) throw py::value_error(std::string(field) + ": at most " + std::to_string(N) + " values");
    const auto values = v.cast<std::vector<T>>();
    for (std::size_t i = 0; i < N; ++i) a[i] = i < values.size() ? values[i] : T{};
}

// Generated in zq_calls.cpp.
void bind_records(py::module_& m);
void bind_calls(py::class_<PyArm>& arm);

}  // namespace zqpy
