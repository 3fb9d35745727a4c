#include "errors.h"

#include "qelm/host/acquisition.h"
#include "qelm/host/errors.h"
#include "qelm/host/library.h"
#include "qelm/host/text.h"
#include "qelm/host/values.h"

#include <pybind11/stl.h>

namespace py = pybind11;

namespace qelm::python {
namespace {

void raise(const Refusal& refusal) {
    const py::object type = py::module_::import("qelm._errors").attr(refusal.type);
    const py::object error =
        type(refusal.what(), refusal.code, refusal.code ? std::string(host::errorName(*refusal.code)) : std::string(),
             refusal.parameter, refusal.allowed);
    PyErr_SetObject(type.ptr(), error.ptr());
}

} // namespace

void registerErrors() {
    py::register_exception_translator([](std::exception_ptr exception) {
        try {
            std::rethrow_exception(exception);
        } catch (const Refusal& refusal) {
            raise(refusal);
        } catch (const host::AppletError& error) {
            Refusal refusal(error.what());
            refusal.code = error.code();
            raise(refusal);
        } catch (const host::LoadError& error) {
            raise(Refusal(error.what()));
        } catch (const host::FrameSizeError& error) {
            raise(Refusal(error.what()));
        } catch (const host::EncodingError& error) {
            raise(Refusal(error.what()));
        }
    });
}

} // namespace qelm::python
