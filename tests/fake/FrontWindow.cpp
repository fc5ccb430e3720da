#include "fake/FrontWindow.h"

#include "fake/Calls.h"

namespace zv {

FrontWindow LookUpFrontWindow() {
    const fake::Call call("LookUpFrontWindow");
    return fake::TheFront();
}

namespace fake {

FrontWindow& TheFront() {
    static FrontWindow front;
    return front;
}

}  // namespace fake
}  // namespace zv
