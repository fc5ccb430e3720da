// The default audio endpoints: what the speakers play (loopback) and the microphone.
//
// An endpoint is opened in steps, in the order of the functions below, so that the caller can name the step that
// failed. It delivers packets in its own mix format, with time stamps of Counter100ns(). All calls are made by one
// thread, which owns the AudioThread. The AudioThread must outlive all handles made with it. No call waits for sound. A
// step that queries a server waits a few seconds at most.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/Event.h"
#include "platform/Owned.h"
#include "platform/Result.h"

namespace zv {

inline constexpr Result resultInvalidArgument = ResultOf(0x80070057U);    ///< E_INVALIDARG
inline constexpr Result resultNoEndpoint = ResultOf(0x80070490U);         ///< there is no default device
inline constexpr Result resultEndpointRemoved = ResultOf(0x88890004U);    ///< AUDCLNT_E_DEVICE_INVALIDATED
inline constexpr Result resultFormatUnsupported = ResultOf(0x88890008U);  ///< AUDCLNT_E_UNSUPPORTED_FORMAT

struct AudioThread;      ///< while it exists, the calling thread may use the functions below
struct AudioEnumerator;  ///< finds the default devices
struct AudioEndpoint;    ///< one default endpoint
template <>
void Closer<AudioThread>::operator()(AudioThread* thread) const noexcept;
template <>
void Closer<AudioEnumerator>::operator()(AudioEnumerator* enumerator) const noexcept;
template <>
void Closer<AudioEndpoint>::operator()(AudioEndpoint* endpoint) const noexcept;  ///< does not stop a stream

Result EnterAudioThread(Owned<AudioThread>& thread);
Result MakeAudioEnumerator(AudioThread& thread, Owned<AudioEnumerator>& enumerator);

/// The current default device. A later change of the default does not affect the endpoint.
Result FindDefaultEndpoint(AudioEnumerator& enumerator, bool loopback, Owned<AudioEndpoint>& endpoint);
Result ActivateEndpoint(AudioEndpoint& endpoint);

inline constexpr std::uint32_t formatTagPcm = 1;
inline constexpr std::uint32_t formatTagFloat = 3;
inline constexpr std::uint32_t formatTagExtensible = 65534;

/// A mix format with the meaning of Windows' WAVEFORMATEX and its extension.
struct MixFormat {
    std::uint32_t formatTag = 0;
    std::uint32_t channels = 0;
    std::uint32_t sampleRate = 0;
    std::uint32_t blockAlign = 0;  ///< bytes of one frame
    std::uint32_t bitsPerSample = 0;
    std::uint32_t extraBytes = 0;    ///< `cbSize`
    std::uint32_t subFormatTag = 0;  ///< low 16 bits of the extension's first field; 0 without an extension
};

Result ReadMixFormat(AudioEndpoint& endpoint, MixFormat& format);

/// Initializes the shared stream with the mix format that ReadMixFormat returned.
Result InitializeEndpoint(AudioEndpoint& endpoint, bool loopback);
Result OpenCaptureService(AudioEndpoint& endpoint);

Result StartEndpoint(AudioEndpoint& endpoint);
void StopEndpoint(AudioEndpoint& endpoint);

/// Waits some milliseconds, until packets may have arrived at the enumerator's endpoints. Returns false as soon as
/// `stop` is signalled, and if the wait fails.
bool WaitForPackets(AudioEnumerator& enumerator, Event& stop);

/// Makes packets that have arrived available, without waiting.
void ReceivePackets(AudioEnumerator& enumerator);

/// The number of frames in the next packet, 0 if none is waiting.
Result NextPacketFrames(AudioEndpoint& endpoint, std::uint32_t& frames);

struct AudioPacket {
    const std::byte* data = nullptr;  ///< `frames` frames, valid until ReleasePacket; null means silence
    std::uint32_t frames = 0;
    bool silent = false;          ///< ignore the data
    bool timestampError = false;  ///< ignore the position
    std::int64_t position = 0;    ///< when the first frame was captured, in 100 ns of Counter100ns()
};

Result AcquirePacket(AudioEndpoint& endpoint, AudioPacket& packet);
Result ReleasePacket(AudioEndpoint& endpoint, std::uint32_t frames);

}  // namespace zv
