// COM objects built from function tables.
//
// The drivers' interfaces have hundreds of functions, of which the program calls a few dozen. At first every entry of a
// table reports a complaint; a double then replaces the entries that it implements. Include this after <initguid.h>,
// with CINTERFACE defined, which declares the tables' types.
//
// Objects stay in memory after their last release, so that a call to a released object is reported and does not crash.
#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "windows/drivers/CallChecker.h"
#include "windows/drivers/Pixels.h"

namespace zv::drivers {

struct Object;

/// What an interface pointer points at: the table, and the object behind it.
struct Face {
    const void* table = nullptr;
    Object* object = nullptr;
    std::vector<IID> ids;
};

struct Object {
    explicit Object(const char* theKind, Object* theParent = nullptr) : kind(theKind), parent(theParent) {
        if (parent != nullptr) {
            ++parent->children;
        }
        ++Living();
    }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    /// Called after the last release. The memory stays.
    virtual void End() {}

    static std::atomic<int>& Living() {
        static std::atomic<int> count = 0;
        return count;
    }

    const char* kind;
    Object* parent;
    std::atomic<int> children = 0;
    std::atomic<ULONG> references = 1;
    DWORD thread = GetCurrentThreadId();
    bool oneThread = false;  ///< may be called only on the thread that created it
    std::array<Face, 4> faces;
};

inline void* PointerTo(Object& object, std::size_t face = 0) { return &object.faces[face]; }

/// The object behind `self`. Complains if it may not be called now.
inline Object& ObjectOf(void* self, const char* function) {
    Object& object = *static_cast<Face*>(self)->object;
    if (object.references == 0) {
        Complain(std::string(function) + " on a released " + object.kind);
    }
    if (object.oneThread && object.thread != GetCurrentThreadId()) {
        Complain(std::string(function) + " on another thread than the one that made the " + object.kind);
    }
    return object;
}
template <class Kind>
Kind& Behind(void* self, const char* function) {
    return static_cast<Kind&>(ObjectOf(self, function));
}

inline ULONG STDMETHODCALLTYPE AddReference(void* self) { return ++ObjectOf(self, "AddRef").references; }

inline ULONG STDMETHODCALLTYPE ReleaseReference(void* self) {
    Object& object = ObjectOf(self, "Release");
    if (object.references == 0) {
        return 0;
    }
    const ULONG left = --object.references;
    if (left == 0) {
        if (object.children != 0) {
            Complain(std::string(object.kind) + " released before what was made from it");
        }
        object.End();
        if (object.parent != nullptr) {
            --object.parent->children;
        }
        --Object::Living();
    }
    return left;
}

inline HRESULT STDMETHODCALLTYPE QueryFaces(void* self, const IID& id, void** result) {
    Object& object = ObjectOf(self, "QueryInterface");
    if (result == nullptr) {
        Complain("QueryInterface without an output pointer");
        return E_POINTER;
    }
    *result = nullptr;
    if (id.Data1 != privateIds) {
        const ScriptedResult scripted = CountCall((std::string("QueryInterface:") + object.kind).c_str());
        if (scripted.fails) {
            return scripted.code;
        }
    }
    for (Face& face : object.faces) {
        for (const IID& offered : face.ids) {
            if (std::memcmp(&offered, &id, sizeof(id)) == 0) {
                ++object.references;
                *result = &face;
                return S_OK;
            }
        }
    }
    Complain(std::string("the ") + object.kind + " does not implement the requested interface");
    return E_NOINTERFACE;
}

template <std::size_t slot>
HRESULT STDMETHODCALLTYPE UnexpectedCall(void* self) {
    const char* kind = static_cast<Face*>(self)->object->kind;
    Complain("unexpected call of function " + std::to_string(slot) + " of the " + kind);
    return E_NOTIMPL;
}

template <class Table>
class TableMaker {
public:
    TableMaker() {
        Fill(std::make_index_sequence<sizeof(Table) / sizeof(void*)>());
        Put(0, reinterpret_cast<void*>(QueryFaces));
        Put(1, reinterpret_cast<void*>(AddReference));
        Put(2, reinterpret_cast<void*>(ReleaseReference));
    }
    Table table;

private:
    template <std::size_t... slots>
    void Fill(std::index_sequence<slots...>) {
        (Put(slots, reinterpret_cast<void*>(UnexpectedCall<slots>)), ...);
    }
    void Put(std::size_t slot, void* function) {
        std::memcpy(reinterpret_cast<std::byte*>(&table) + slot * sizeof(void*), &function, sizeof(function));
    }
};

inline void SetFace(Object& object, std::size_t index, const void* table, std::vector<IID> ids) {
    object.faces[index] = {table, &object, std::move(ids)};
}

/// Called when the module is unloaded. Notes that it was checked to the end.
inline void ReportEnd(bool processEnds) {
    const int living = Object::Living();
    if (living != 0) {
        Complain(std::to_string(living) + " objects are still held at the end");
    }
    Note(std::string("ends with ") + (processEnds ? "the process" : "its last user"));
}

}  // namespace zv::drivers
