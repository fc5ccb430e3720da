// Captures the desktop as images and scales them into the encoder's surface.
//
// The calls mirror desktop duplication and a fixed-function video processor: an output of an adapter, a device on
// that adapter, the duplication of the output, two surfaces and a scaler between them. One thread makes all calls of a
// capture. Handles are released in the reverse order of their creation. After AcquireImage has returned Acquired,
// ReleaseImage is called before the next AcquireImage.
#pragma once

#include <cstdint>

#include "platform/Monitors.h"
#include "platform/Owned.h"
#include "platform/Rectangle.h"
#include "platform/Result.h"

namespace zv {

struct GraphicsFactory;
struct GraphicsOutput;  ///< an output together with the adapter that owns it
struct GraphicsDevice;  ///< device and context
struct DesktopDuplication;
struct DesktopImage;  ///< the resource of one acquired image
struct Surface;
struct VideoProcessing;  ///< video device and video context
struct VideoScaler;      ///< enumerator and processor
struct ScalerViews;      ///< a scaler's input and output view; released before the surfaces that they refer to
template <>
void Closer<GraphicsFactory>::operator()(GraphicsFactory* factory) const noexcept;
template <>
void Closer<GraphicsOutput>::operator()(GraphicsOutput* output) const noexcept;
template <>
void Closer<GraphicsDevice>::operator()(GraphicsDevice* device) const noexcept;
template <>
void Closer<DesktopDuplication>::operator()(DesktopDuplication* duplication) const noexcept;
template <>
void Closer<DesktopImage>::operator()(DesktopImage* image) const noexcept;
template <>
void Closer<Surface>::operator()(Surface* surface) const noexcept;
template <>
void Closer<VideoProcessing>::operator()(VideoProcessing* processing) const noexcept;
template <>
void Closer<VideoScaler>::operator()(VideoScaler* scaler) const noexcept;
template <>
void Closer<ScalerViews>::operator()(ScalerViews* views) const noexcept;

Result OpenGraphicsFactory(Owned<GraphicsFactory>& factory);

enum class OutputLookup {
    Found,     ///< `output` and `record` are set; `record.described` may be false
    NoOutput,  ///< the adapter has no output of that index
    NoAdapter  ///< there is no adapter of that index
};

/// On NoOutput and NoAdapter, `*code` receives resultNotFound at the end of the list, or the failure that ended it
/// early.
OutputLookup LookUpOutput(GraphicsFactory& factory, std::uint32_t adapterIndex, std::uint32_t outputIndex,
                          OutputRecord& record, Owned<GraphicsOutput>& output, Result* code = nullptr);

/// Makes a device and its context on the adapter of `output`, with BGRA and video support.
Result MakeGraphicsDevice(GraphicsOutput& output, Owned<GraphicsDevice>& device);

Result OpenDuplication(GraphicsDevice& device, GraphicsOutput& output, Owned<DesktopDuplication>& duplication);

/// Queries the video interfaces of the device.
Result OpenVideoProcessing(GraphicsDevice& device, Owned<VideoProcessing>& processing);

struct ScalerFormat {
    std::uint32_t sourceWidth = 0;
    std::uint32_t sourceHeight = 0;
    std::uint32_t outputWidth = 0;
    std::uint32_t outputHeight = 0;
    std::uint32_t fps = 0;
};

/// Makes the enumerator and the processor.
Result MakeVideoScaler(VideoProcessing& processing, const ScalerFormat& format, Owned<VideoScaler>& scaler);

/// Makes the surface that holds the last desktop image: BGRA, 8 bits a channel.
Result MakeCaptureSurface(GraphicsDevice& device, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface);

/// Makes the surface that the encoder reads: NV12.
Result MakeNv12Surface(GraphicsDevice& device, std::uint32_t width, std::uint32_t height, Owned<Surface>& surface);

/// Makes an input view of `source` and an output view of `target`.
Result MakeScalerViews(VideoScaler& scaler, Surface& source, Surface& target, Owned<ScalerViews>& views);

struct ScalerState {
    Rectangle source;       ///< part of the desktop image, enabled
    Rectangle destination;  ///< its position in the frame, enabled
    Rectangle target;       ///< the whole frame, enabled
    bool autoProcessing = false;
    std::uint32_t streamColorSpace = 0;  ///< bits of D3D11_VIDEO_PROCESSOR_COLOR_SPACE
    std::uint32_t outputColorSpace = 0;  ///< the same
    float backgroundY = 0;               ///< of the target outside the destination, 0 to 1
    float backgroundCb = 0;
    float backgroundCr = 0;
    float backgroundAlpha = 0;
};

/// Sets the state of stream 0, once, in the order of the record's fields.
void SetScalerState(VideoScaler& scaler, const ScalerState& state);

enum class Acquire { Acquired, Timeout, Failed };

/// Waits up to `timeoutMs` for the next desktop image. On Failed `code` holds the reason. The call may write to a
/// capture surface of the same size; the surface is valid again after UpdateSurface.
Acquire AcquireImage(DesktopDuplication& duplication, std::uint32_t timeoutMs, Owned<DesktopImage>& image,
                     Result& code);

/// Updates the surface with the acquired image: copies it, unless they share memory. Fails if the image cannot be read
/// as a texture.
Result UpdateSurface(GraphicsDevice& device, DesktopImage& image, Surface& surface);

/// Returns the image to the duplication.
void ReleaseImage(DesktopDuplication& duplication);

/// One conversion from the source surface to the target surface. `frameIndex` is the output frame.
Result RunScaler(VideoScaler& scaler, ScalerViews& views, std::uint32_t frameIndex);

/// Submits the commands that are queued on the device.
void FlushGraphics(GraphicsDevice& device);

/// The pointers that the encoder library receives as its device and its input texture.
void* NativeDevice(GraphicsDevice& device);
void* NativeTexture(Surface& surface);

}  // namespace zv
