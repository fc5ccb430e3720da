// The GDI and GDI+ owners that drawing and screenshots share.
#pragma once

#include "platform/windows/Sdk.h"

namespace zv {

/// GDI+ can be used while an object of this class exists. Several may exist, on any threads.
class GdiPlus {
public:
    GdiPlus() {
        const Gdiplus::GdiplusStartupInput input;
        started_ = Gdiplus::GdiplusStartup(&token_, &input, nullptr) == Gdiplus::Ok;
    }
    ~GdiPlus() {
        if (started_) {
            Gdiplus::GdiplusShutdown(token_);
        }
    }
    GdiPlus(const GdiPlus&) = delete;
    GdiPlus& operator=(const GdiPlus&) = delete;

    bool Started() const { return started_; }

private:
    ULONG_PTR token_ = 0;
    bool started_ = false;
};

/// Selects an object into a context until the end of the scope.
class Selection {
public:
    Selection(HDC context, HGDIOBJ object) : context_(context), before_(SelectObject(context, object)) {}
    ~Selection() {
        if (before_ != nullptr) {
            SelectObject(context_, before_);
        }
    }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;

    bool Made() const { return before_ != nullptr; }

private:
    HDC context_;
    HGDIOBJ before_;
};

}  // namespace zv
