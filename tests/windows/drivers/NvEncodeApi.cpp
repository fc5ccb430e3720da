// nvEncodeAPI64.dll: the function list of the encoder's interface, version 12.2, over H264Writer.
//
// Every structure is compared byte by byte with the expected one, by offsets written down here instead of the program's
// declarations, so that a field at a wrong offset is a complaint.
//   set errortext TEXT    the result of nvEncGetLastErrorString
//   set filled BYTES      fills every smaller picture up to that size with filler data
//   set version NAME WORD accepts the structure NAME only with that version (hexadecimal), like an older or newer
//   library
// The entry "empty-picture" makes the locked picture empty. When the library is freed, it notes its last calls.
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "windows/drivers/CallChecker.h"
#include "windows/drivers/H264Writer.h"
#include "windows/drivers/Pixels.h"

namespace zv::drivers {
namespace {

using Status = std::int32_t;
constexpr Status success = 0;
constexpr Status invalidParameter = 8;
constexpr Status invalidCall = 9;
constexpr Status invalidVersion = 15;

constexpr GUID h264Codec = {0x6BC82762, 0x4E63, 0x4CA4, {0xAA, 0x85, 0x1E, 0x50, 0xF3, 0x21, 0xF6, 0xBF}};
constexpr GUID highProfile = {0xE7CBC309, 0x4F7A, 0x4B89, {0xAF, 0x2A, 0xD5, 0x37, 0xC9, 0x2B, 0xE3, 0x10}};
constexpr GUID presetP1 = {0xFC0A8D3E, 0x45F8, 0x4CF8, {0x80, 0xC7, 0x29, 0x88, 0x71, 0x59, 0x0E, 0xBF}};

std::uint32_t Word(const void* structure, std::size_t offset) {
    std::uint32_t value = 0;
    std::memcpy(&value, static_cast<const std::byte*>(structure) + offset, sizeof(value));
    return value;
}
void* Pointer(const void* structure, std::size_t offset) {
    void* value = nullptr;
    std::memcpy(&value, static_cast<const std::byte*>(structure) + offset, sizeof(value));
    return value;
}
template <class Value>
void Set(void* structure, std::size_t offset, const Value& value) {
    std::memcpy(static_cast<std::byte*>(structure) + offset, &value, sizeof(value));
}

/// The expected bytes of a structure: zero except where set.
class Expected {
public:
    explicit Expected(std::size_t size) : bytes_(size) {}
    Expected(const void* structure, std::size_t size) : bytes_(size) { std::memcpy(bytes_.data(), structure, size); }

    template <class Value>
    Expected& Has(std::size_t offset, const Value& value) {
        Set(bytes_.data(), offset, value);
        return *this;
    }
    bool Compare(const char* name, const void* given) const {
        for (std::size_t offset = 0; offset < bytes_.size(); offset += 4) {
            if (Word(given, offset) != Word(bytes_.data(), offset)) {
                Complain(std::string(name) + " has " + Hex(Word(given, offset)) + " at offset " +
                         std::to_string(offset) + " where " + Hex(Word(bytes_.data(), offset)) + " belongs");
                return false;
            }
        }
        return true;
    }
    const std::vector<std::byte>& Bytes() const { return bytes_; }

private:
    std::vector<std::byte> bytes_;
};

/// A preset with values that the program must change, and others that it must keep.
Expected Preset() {
    Expected preset(3584);
    preset.Has(0, 0xF209000CU).Has(20, 0xFFFFFFFFU).Has(24, 3U).Has(32, 1U).Has(36, 3U);
    preset.Has(40, 0x7201000CU).Has(44, 1U).Has(40 + 36, (1U << 3) | (1U << 5) | (1U << 8) | (1U << 12));
    preset.Has(40 + 90, std::uint16_t{8}).Has(40 + 100, 2U);
    preset.Has(168, 1U << 18).Has(168 + 8, 0xFFFFFFFFU).Has(168 + 44, 2U).Has(168 + 60, 1U);
    preset.Has(168 + 192, 1U).Has(168 + 212, 8U).Has(168 + 216, 8U);
    return preset;
}

struct Session {
    DWORD thread = GetCurrentThreadId();
    void* device = nullptr;  ///< the device's maintenance interface, counted
    bool initialized = false;
    bool ended = false;
    H264Format format;
    std::unique_ptr<H264Writer> writer;
    void* texture = nullptr;  ///< the registered texture's content interface, counted
    Pixels* pixels = nullptr;
    bool hasBuffer = false;
    bool locked = false;
    bool encoded = false;  ///< the buffer holds a picture
    std::uint32_t nextFrame = 0;
    std::vector<std::uint8_t> unit;
    // Their addresses are the handles.
    char registered = 0;
    char mapped = 0;
    char buffer = 0;
};

std::atomic<int> sessions = 0;

/// The last calls, one word each. The text is never destroyed: it is noted when the library is unloaded.
std::string& Journal() {
    static auto* calls = new std::string;
    return *calls;
}

void Remember(const std::string& call) {
    std::string& calls = Journal();
    calls += " " + call;
    while (std::count(calls.begin(), calls.end(), ' ') > 14) {
        calls.erase(0, calls.find(' ', 1));
    }
}

Session& SessionOf(void* encoder, const char* function) {
    Remember(function + std::strlen("nvEnc"));
    auto& session = *static_cast<Session*>(encoder);
    if (session.thread != GetCurrentThreadId()) {
        Complain(std::string(function) + " on another thread");
    }
    return session;
}

Status Refuse(Status status, const std::string& text) {
    Complain(text);
    return status;
}

/// The version of a structure that this library accepts.
std::uint32_t VersionOf(const std::string& name, std::uint32_t usual) {
    for (const std::string& value : Values("version")) {
        if (value.starts_with(name + " ")) {
            return static_cast<std::uint32_t>(std::strtoul(value.c_str() + name.size(), nullptr, 16));
        }
    }
    return usual;
}

bool HasVersion(const void* structure, std::uint32_t version, const char* name) {
    if (Word(structure, 0) == VersionOf(name, version)) {
        return true;
    }
    Complain(std::string(name) + " has version " + Hex(Word(structure, 0)));
    return false;
}

Status Open(void* parameters, void** encoder) {
    Remember("OpenEncodeSessionEx");
    const ScriptedResult scripted = CountCall("nvEncOpenEncodeSessionEx");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (!HasVersion(parameters, 0x7201000C, "NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS")) {
        return invalidVersion;
    }
    void* device = Pointer(parameters, 8);
    Expected expected(1552);
    expected.Has(0, 0x7201000CU).Has(4, 0U).Has(8, device).Has(24, 0x0200000CU);
    expected.Compare("NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS", parameters);
    void* maintenance = QueryFor(device, maintenanceId);
    if (maintenance == nullptr) {
        return Refuse(invalidParameter, "a session on something that is no device");
    }
    auto* session = new Session;
    session->device = maintenance;
    ++sessions;
    *encoder = session;
    return success;
}

Status GetPreset(void* encoder, GUID codec, GUID preset, std::uint32_t tuning, void* config) {
    SessionOf(encoder, "nvEncGetEncodePresetConfigEx");
    const ScriptedResult scripted = CountCall("nvEncGetEncodePresetConfigEx");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (!HasVersion(config, 0xF205000C, "NV_ENC_PRESET_CONFIG") ||
        !HasVersion(static_cast<std::byte*>(config) + 8, 0xF209000C, "presetCfg")) {
        return invalidVersion;
    }
    if (!(codec == h264Codec) || !(preset == presetP1) || tuning != 3) {
        return Refuse(invalidParameter, "nvEncGetEncodePresetConfigEx for another codec, preset or tuning");
    }
    const Expected content = Preset();
    std::memcpy(static_cast<std::byte*>(config) + 8, content.Bytes().data(), content.Bytes().size());
    return success;
}

/// The preset with the program's settings, for the frame rate and bit rate of the configuration.
bool CheckConfig(const void* config, std::uint32_t fps) {
    const std::uint32_t bitrate = Word(config, 40 + 20);
    if (bitrate % 1000000 != 0 || bitrate < 5000000 || bitrate > 200000000) {
        Complain("a bit rate of " + std::to_string(bitrate));
    }
    Expected expected = Preset();
    expected.Has(4, highProfile).Has(20, fps).Has(24, 1U);
    expected.Has(40 + 4, 2U).Has(40 + 20, bitrate).Has(40 + 24, bitrate);
    expected.Has(40 + 28, bitrate / fps).Has(40 + 32, bitrate / fps);
    expected.Has(40 + 36, (1U << 9) | (1U << 12)).Has(40 + 90, std::uint16_t{0}).Has(40 + 100, 0U);
    expected.Has(168, (1U << 6) | (1U << 12) | (1U << 18)).Has(168 + 8, fps);
    expected.Has(240 + 8, 1U).Has(240 + 12, 5U).Has(240 + 16, 0U);
    expected.Has(240 + 20, 1U).Has(240 + 24, 1U).Has(240 + 28, 1U).Has(240 + 32, 1U);
    return expected.Compare("NV_ENC_CONFIG", config);
}

H264Format FormatOf(const void* parameters, const void* config) {
    H264Format format;
    format.width = Word(parameters, 36);
    format.height = Word(parameters, 40);
    format.fps = Word(parameters, 52) / Word(parameters, 56);
    format.idrPeriod = Word(config, 168 + 8);
    const std::uint32_t flags = Word(config, 168);
    format.delimiters = (flags & (1U << 6)) != 0;
    format.repeatsParameterSets = (flags & (1U << 12)) != 0;
    format.noReordering = (Word(config, 40 + 36) & (1U << 9)) != 0;
    format.describesSignal = Word(config, 240 + 8) != 0;
    format.videoFormat = Word(config, 240 + 12);
    format.fullRange = Word(config, 240 + 16) != 0;
    format.describesColors = Word(config, 240 + 20) != 0;
    format.primaries = Word(config, 240 + 24);
    format.transfer = Word(config, 240 + 28);
    format.matrix = Word(config, 240 + 32);
    return format;
}

Status Initialize(void* encoder, void* parameters) {
    Session& session = SessionOf(encoder, "nvEncInitializeEncoder");
    const ScriptedResult scripted = CountCall("nvEncInitializeEncoder");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (session.initialized) {
        return Refuse(invalidCall, "nvEncInitializeEncoder a second time");
    }
    void* config = Pointer(parameters, 88);
    if (!HasVersion(parameters, 0xF207000C, "NV_ENC_INITIALIZE_PARAMS") || config == nullptr ||
        !HasVersion(config, 0xF209000C, "NV_ENC_CONFIG")) {
        return invalidVersion;
    }
    const std::uint32_t width = Word(parameters, 36);
    const std::uint32_t height = Word(parameters, 40);
    const std::uint32_t fps = Word(parameters, 52);
    if (fps != 30 && fps != 60 && fps != 120 && fps != 240) {
        return Refuse(invalidParameter, "a frame rate of " + std::to_string(fps));
    }
    Expected expected(1800);
    expected.Has(0, 0xF207000CU).Has(4, h264Codec).Has(20, presetP1).Has(36, width).Has(40, height);
    expected.Has(44, width).Has(48, height).Has(52, fps).Has(56, 1U).Has(64, 1U).Has(88, config).Has(136, 3U);
    if (!expected.Compare("NV_ENC_INITIALIZE_PARAMS", parameters) || !CheckConfig(config, fps)) {
        return invalidParameter;
    }
    session.format = FormatOf(parameters, config);
    session.writer = std::make_unique<H264Writer>(session.format);
    session.initialized = true;
    Note("encodes " + std::to_string(width) + "x" + std::to_string(height) + " at " + std::to_string(fps) + " with " +
         std::to_string(Word(config, 40 + 20)) + " bit/s");
    return success;
}

Status Register(void* encoder, void* resource) {
    Session& session = SessionOf(encoder, "nvEncRegisterResource");
    const ScriptedResult scripted = CountCall("nvEncRegisterResource");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (!HasVersion(resource, 0x7205000C, "NV_ENC_REGISTER_RESOURCE")) {
        return invalidVersion;
    }
    if (!session.initialized || session.texture != nullptr) {
        return Refuse(invalidCall, "nvEncRegisterResource before the encoder is initialized, or a second time");
    }
    void* texture = Pointer(resource, 24);
    Expected expected(1536);
    expected.Has(0, 0x7205000CU).Has(8, session.format.width).Has(12, session.format.height).Has(24, texture);
    expected.Has(40, 1U);
    expected.Compare("NV_ENC_REGISTER_RESOURCE", resource);
    void* content = QueryFor(texture, pixelsId);
    if (content == nullptr) {
        return Refuse(invalidParameter, "nvEncRegisterResource of something that is no texture");
    }
    session.texture = content;
    session.pixels = TableOf<PixelsTable>(content).content(content);
    if (session.pixels->format != 103 || session.pixels->width != session.format.width ||
        session.pixels->height != session.format.height) {
        Complain("nvEncRegisterResource of a texture of another format or size");
    }
    Set(resource, 32, static_cast<void*>(&session.registered));
    return success;
}

Status Unregister(void* encoder, void* registered) {
    Session& session = SessionOf(encoder, "nvEncUnregisterResource");
    CountCall("nvEncUnregisterResource");
    if (registered != &session.registered || session.texture == nullptr || session.pixels->mapped) {
        return Refuse(invalidCall, "nvEncUnregisterResource of what is not registered, or still mapped");
    }
    if (ReleaseObject(std::exchange(session.texture, nullptr)) == 0) {
        Complain("the texture was released while it was registered");
    }
    return success;
}

Status CreateBuffer(void* encoder, void* parameters) {
    Session& session = SessionOf(encoder, "nvEncCreateBitstreamBuffer");
    const ScriptedResult scripted = CountCall("nvEncCreateBitstreamBuffer");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (!HasVersion(parameters, 0x7201000C, "NV_ENC_CREATE_BITSTREAM_BUFFER")) {
        return invalidVersion;
    }
    Expected(776).Has(0, 0x7201000CU).Compare("NV_ENC_CREATE_BITSTREAM_BUFFER", parameters);
    if (!session.initialized || session.hasBuffer) {
        return Refuse(invalidCall, "nvEncCreateBitstreamBuffer before the encoder is initialized, or a second time");
    }
    session.hasBuffer = true;
    Set(parameters, 16, static_cast<void*>(&session.buffer));
    return success;
}

Status DestroyBuffer(void* encoder, void* buffer) {
    Session& session = SessionOf(encoder, "nvEncDestroyBitstreamBuffer");
    CountCall("nvEncDestroyBitstreamBuffer");
    if (buffer != &session.buffer || !session.hasBuffer) {
        return Refuse(invalidCall, "nvEncDestroyBitstreamBuffer of what is no buffer");
    }
    if (session.locked && session.writer != nullptr) {
        Complain("nvEncDestroyBitstreamBuffer while it is locked");
    }
    session.hasBuffer = false;
    return success;
}

Status Map(void* encoder, void* parameters) {
    Session& session = SessionOf(encoder, "nvEncMapInputResource");
    const ScriptedResult scripted = CountCall("nvEncMapInputResource");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (!HasVersion(parameters, 0x7204000C, "NV_ENC_MAP_INPUT_RESOURCE")) {
        return invalidVersion;
    }
    Expected expected(1544);
    expected.Has(0, 0x7204000CU).Has(16, static_cast<void*>(&session.registered));
    if (!expected.Compare("NV_ENC_MAP_INPUT_RESOURCE", parameters) || session.texture == nullptr ||
        session.pixels->mapped) {
        return Refuse(invalidCall, "nvEncMapInputResource of what is not registered, or a second time");
    }
    if (!session.pixels->flushed) {
        Complain("nvEncMapInputResource before the conversion was submitted");
    }
    session.pixels->mapped = true;
    Set(parameters, 24, static_cast<void*>(&session.mapped));
    Set(parameters, 32, 1U);
    return success;
}

Status Unmap(void* encoder, void* mapped) {
    Session& session = SessionOf(encoder, "nvEncUnmapInputResource");
    const ScriptedResult scripted = CountCall("nvEncUnmapInputResource");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (mapped != &session.mapped || session.texture == nullptr || !session.pixels->mapped) {
        return Refuse(invalidCall, "nvEncUnmapInputResource of what is not mapped");
    }
    session.pixels->mapped = false;
    return success;
}

/// A unit of filler data, which a decoder ignores.
void AppendFiller(std::vector<std::uint8_t>& unit) {
    const std::size_t size = std::strtoul(Value("filled", "0").c_str(), nullptr, 10);
    if (unit.size() + 8 < size) {
        unit.insert(unit.end(), {0, 0, 0, 1, 12});
        unit.resize(size - 1, 0xFF);
        unit.push_back(0x80);
    }
}

Status EndStream(Session& session, const void* picture) {
    Expected(3360).Has(0, 0xF207000CU).Has(16, 8U).Compare("the end-of-stream marker", picture);
    if (!session.initialized || session.ended) {
        Complain("an end-of-stream marker without a stream, or a second one");
    }
    session.ended = true;
    return success;
}

Status Encode(void* encoder, void* picture) {
    Session& session = SessionOf(encoder, "nvEncEncodePicture");
    const bool ends = (Word(picture, 16) & 8U) != 0;
    if (ends) {
        Remember("(end)");
    }
    if (!HasVersion(picture, 0xF207000C, "NV_ENC_PIC_PARAMS")) {
        session.ended = session.ended || ends;
        return invalidVersion;
    }
    if (ends) {
        return EndStream(session, picture);
    }
    const ScriptedResult scripted = CountCall("nvEncEncodePicture");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    Expected expected(3360);
    expected.Has(0, 0xF207000CU).Has(4, session.format.width).Has(8, session.format.height);
    expected.Has(12, session.format.width).Has(20, session.nextFrame).Has(24, std::uint64_t{session.nextFrame});
    expected.Has(32, std::uint64_t{1}).Has(40, static_cast<void*>(&session.mapped));
    expected.Has(48, static_cast<void*>(&session.buffer)).Has(64, 1U).Has(68, 1U);
    if (!expected.Compare("NV_ENC_PIC_PARAMS", picture) || session.texture == nullptr || !session.pixels->mapped ||
        !session.hasBuffer || session.locked || session.ended || session.encoded) {
        return Refuse(invalidCall, "nvEncEncodePicture at the wrong time");
    }
    session.unit = session.writer->Write(session.pixels->nv12);
    AppendFiller(session.unit);
    session.encoded = true;
    ++session.nextFrame;
    return success;
}

Status Lock(void* encoder, void* lock) {
    Session& session = SessionOf(encoder, "nvEncLockBitstream");
    const ScriptedResult scripted = CountCall("nvEncLockBitstream");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (!HasVersion(lock, 0xF202000C, "NV_ENC_LOCK_BITSTREAM")) {
        return invalidVersion;
    }
    Expected expected(1544);
    expected.Has(0, 0xF202000CU).Has(8, static_cast<void*>(&session.buffer));
    if (!expected.Compare("NV_ENC_LOCK_BITSTREAM", lock) || !session.encoded || session.locked) {
        return Refuse(invalidCall, "nvEncLockBitstream without a picture, or a second time");
    }
    session.locked = true;
    Set(lock, 24, session.nextFrame - 1);
    Set(lock, 32, 1U);
    const bool empty = CountCall("empty-picture").fails;
    Set(lock, 36, empty ? 0U : static_cast<std::uint32_t>(session.unit.size()));
    Set(lock, 40, std::uint64_t{session.nextFrame - 1});
    Set(lock, 48, std::uint64_t{1});
    Set(lock, 56, static_cast<void*>(session.unit.data()));
    Set(lock, 64, session.writer->LastWasIdr() ? 3U : 0U);
    Set(lock, 68, 1U);
    return success;
}

Status Unlock(void* encoder, void* buffer) {
    Session& session = SessionOf(encoder, "nvEncUnlockBitstream");
    if (buffer != &session.buffer || !session.locked) {
        return Refuse(invalidCall, "nvEncUnlockBitstream of what is not locked");
    }
    session.locked = false;
    session.encoded = false;
    // The lock has ended: a late reader gets these bytes.
    std::fill(session.unit.begin(), session.unit.end(), std::uint8_t{0xDD});
    const ScriptedResult scripted = CountCall("nvEncUnlockBitstream");
    return scripted.fails ? static_cast<Status>(scripted.code) : success;
}

const char* LastErrorString(void* encoder) {
    SessionOf(encoder, "nvEncGetLastErrorString");
    static std::string text;
    text = Value("errortext", "");
    return text.c_str();
}

Status Destroy(void* encoder) {
    Session& session = SessionOf(encoder, "nvEncDestroyEncoder");
    CountCall("nvEncDestroyEncoder");
    if (session.initialized && !session.ended) {
        Complain("nvEncDestroyEncoder before the end of the stream");
    }
    if (session.texture != nullptr || session.hasBuffer) {
        Complain("nvEncDestroyEncoder with a texture or a buffer");
    }
    if (ReleaseObject(session.device) == 0) {
        Complain("the device was released before the encoder");
    }
    Note("encoded " + std::to_string(session.nextFrame) + " frames");
    --sessions;
    delete &session;
    return success;
}

Status Unexpected() {
    Complain("a call of a function that the program has no use for");
    return invalidCall;
}

}  // namespace
}  // namespace zv::drivers

using namespace zv::drivers;

extern "C" Status NvEncodeAPICreateInstance(void* list) {
    ReadScript();
    const ScriptedResult scripted = CountCall("NvEncodeAPICreateInstance");
    if (scripted.fails) {
        return static_cast<Status>(scripted.code);
    }
    if (!HasVersion(list, 0x7202000C, "NV_ENCODE_API_FUNCTION_LIST")) {
        return invalidVersion;
    }
    Expected(2552).Has(0, 0x7202000CU).Compare("NV_ENCODE_API_FUNCTION_LIST", list);
    for (std::size_t offset = 8; offset <= 344; offset += 8) {
        if (offset != 272) {
            Set(list, offset, reinterpret_cast<void*>(Unexpected));
        }
    }
    const std::array<std::pair<std::size_t, void*>, 14> functions = {{
        {320, reinterpret_cast<void*>(GetPreset)},
        {96, reinterpret_cast<void*>(Initialize)},
        {120, reinterpret_cast<void*>(CreateBuffer)},
        {128, reinterpret_cast<void*>(DestroyBuffer)},
        {136, reinterpret_cast<void*>(Encode)},
        {144, reinterpret_cast<void*>(Lock)},
        {152, reinterpret_cast<void*>(Unlock)},
        {216, reinterpret_cast<void*>(Unmap)},
        {208, reinterpret_cast<void*>(Map)},
        {224, reinterpret_cast<void*>(Destroy)},
        {240, reinterpret_cast<void*>(Open)},
        {248, reinterpret_cast<void*>(Register)},
        {256, reinterpret_cast<void*>(Unregister)},
        {304, reinterpret_cast<void*>(LastErrorString)},
    }};
    for (const auto& [offset, function] : functions) {
        Set(list, offset, function);
    }
    return success;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        NameModule("nvenc");
    } else if (reason == DLL_PROCESS_DETACH) {
        if (sessions != 0) {
            Complain("an encoder is still open at the end");
        }
        if (processEnds != nullptr) {
            Complain("the library was never freed");
        }
        Note("calls" + Journal());
        Note("unloaded");
    }
    return TRUE;
}
