#include "fake/NumberedDesktop.h"

#include <chrono>
#include <thread>

#include "platform/software/Surface.h"
#include "support/FrameNumber.h"

namespace zv {

struct GraphicsFactory {};
struct GraphicsOutput {};
struct DesktopDuplication {
    bool first = true;
    DesktopImage image;
};

namespace fake {

NumberedDesktopControls& TheNumberedDesktop() {
    static NumberedDesktopControls controls;
    return controls;
}

void ResetNumberedDesktop() {
    NumberedDesktopControls& controls = TheNumberedDesktop();
    const NumberedDesktopControls fresh;
    controls.monitorName = fresh.monitorName;
    controls.width = fresh.width;
    controls.height = fresh.height;
    controls.rotation = fresh.rotation;
    controls.attached = fresh.attached;
    controls.frozen = false;
    controls.withoutImages = false;
    controls.acquireMs = 0;
    controls.failingAcquire = 0;
    controls.failureCode = resultGenericFailure;
    controls.acquireCalls = 0;
    controls.images = 0;
}

Text NumberedDesktopName() { return TheNumberedDesktop().monitorName; }

namespace {

/// Paints a slow ramp in every channel, so that the rest of the picture is not a plain colour.
void PaintBackground(const DesktopPixels& pixels) {
    for (std::uint32_t y = 0; y < pixels.height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(pixels.memory.get() + y * pixels.Stride());
        for (std::uint32_t x = 0; x < pixels.width; ++x) {
            const std::uint32_t across = x * 255 / pixels.width;
            const std::uint32_t down = y * 255 / pixels.height;
            row[x] = 0xFF000000U | across << 16U | down << 8U | (255 - across);
        }
    }
}

void PaintNext(DesktopDuplication& duplication) {
    const DesktopPixels& pixels = duplication.image.pixels;
    const auto width = static_cast<int>(pixels.width);
    const auto height = static_cast<int>(pixels.height);
    support::PaintFrameNumber(TheNumberedDesktop().images++, reinterpret_cast<std::uint32_t*>(pixels.memory.get()),
                              pixels.width, width, height);
    duplication.image.changed.Clear();
    if (duplication.first) {
        duplication.image.changed.Add({0, 0, width, height});
    } else {
        const support::Box box = support::FrameNumberBox(width, height);
        duplication.image.changed.Add({box.left, box.top, box.right, box.bottom});
    }
    duplication.first = false;
}

}  // namespace
}  // namespace fake

template <>
void Closer<GraphicsFactory>::operator()(GraphicsFactory* factory) const noexcept {
    delete factory;
}
template <>
void Closer<GraphicsOutput>::operator()(GraphicsOutput* output) const noexcept {
    delete output;
}
template <>
void Closer<DesktopDuplication>::operator()(DesktopDuplication* duplication) const noexcept {
    delete duplication;
}
template <>
void Closer<DesktopImage>::operator()(DesktopImage*) const noexcept {}

Result OpenGraphicsFactory(Owned<GraphicsFactory>& factory) {
    factory.reset(new GraphicsFactory);
    return resultOk;
}

OutputLookup LookUpOutput(GraphicsFactory&, std::uint32_t adapterIndex, std::uint32_t outputIndex, OutputRecord& record,
                          Owned<GraphicsOutput>& output, Result* code) {
    if (adapterIndex > 0 || outputIndex > 0) {
        if (code != nullptr) {
            *code = resultNotFound;
        }
        return adapterIndex > 0 ? OutputLookup::NoAdapter : OutputLookup::NoOutput;
    }
    const auto& controls = fake::TheNumberedDesktop();
    record = {.deviceName = controls.monitorName,
              .bounds = {0, 0, static_cast<std::int32_t>(controls.width), static_cast<std::int32_t>(controls.height)},
              .rotation = controls.rotation,
              .described = true,
              .attached = controls.attached};
    output.reset(new GraphicsOutput);
    return OutputLookup::Found;
}

Result MakeGraphicsDevice(GraphicsOutput&, Owned<GraphicsDevice>& device) {
    device.reset(new GraphicsDevice);
    return resultOk;
}

Result OpenDuplication(GraphicsDevice& device, GraphicsOutput&, Owned<DesktopDuplication>& duplication) {
    const auto& controls = fake::TheNumberedDesktop();
    Owned<DesktopDuplication> made(new DesktopDuplication);
    DesktopPixels& pixels = made->image.pixels;
    pixels.width = controls.width;
    pixels.height = controls.height;
    pixels.memory = AllocatePixels(pixels.Stride() * pixels.height);
    if (pixels.memory == nullptr) {
        return resultGenericFailure;
    }
    fake::PaintBackground(pixels);
    device.duplicated = pixels;
    duplication = std::move(made);
    return resultOk;
}

Acquire AcquireImage(DesktopDuplication& duplication, std::uint32_t timeoutMs, Owned<DesktopImage>& image,
                     Result& code) {
    auto& controls = fake::TheNumberedDesktop();
    if (++controls.acquireCalls == controls.failingAcquire) {
        code = controls.failureCode;
        return Acquire::Failed;
    }
    if (controls.withoutImages || (controls.frozen && !duplication.first)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(timeoutMs));
        return Acquire::Timeout;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(controls.acquireMs.load()));
    fake::PaintNext(duplication);
    image.reset(&duplication.image);
    return Acquire::Acquired;
}

void ReleaseImage(DesktopDuplication&) {}

}  // namespace zv
