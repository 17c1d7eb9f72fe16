// The docstrings of the methods bound by hand: each method's docstring becomes its signature
// line and the text of the generated table, which comes from the reference comment of its C
// function, so that help() shows what the stubs and the headers say.
#include <cstdlib>
#include <cstring>
#include <string>

#include "zq_calls.h"
#include "zq_docs.h"

namespace zqpy {

namespace {

// The builtin function behind a module function or a method of a class (a class hands out the
// function itself for a method), or null. The scope keeps it alive.
PyCFunctionObject* builtin_of(py::handle scope, const char* name) {
    py::object f = py::getattr(scope, name, py::none());
    PyObject* p = f.ptr();
    if (PyInstanceMethod_Check(p)) p = PyInstanceMethod_GET_FUNCTION(p);
    return PyCFunction_Check(p) ? reinterpret_cast<PyCFunctionObject*>(p) : nullptr;
}

}  // namespace

void set_docs(py::module_& m) {
    for (const MethodDoc& d : kMethodDocs) {
        const bool top = d.scope[0] == '\0';
        py::object scope = top ? py::object(m) : py::object(m.attr(d.scope));
        PyCFunctionObject* f = builtin_of(scope, d.name);
        if (!f || !f->m_ml) continue;
        // The binding library keeps the signature on the first line and owns the text, which it
        // allocated with malloc and frees with free (it replaces the text itself this way when it
        // adds an overload).
        const char* old = f->m_ml->ml_doc;
        std::string sig = old ? std::string(old, strcspn(old, "\n")) : std::string(d.name) + "(...)";
        const std::string doc = sig + "\n\n" + d.doc + "\n";
        auto* text = static_cast<char*>(std::malloc(doc.size() + 1));
        if (!text) continue;
        std::memcpy(text, doc.c_str(), doc.size() + 1);
        std::free(const_cast<char*>(old));
        f->m_ml->ml_doc = text;
    }
}

}  // namespace zqpy
