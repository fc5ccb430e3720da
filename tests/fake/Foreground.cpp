#include "fake/Foreground.h"

namespace zv {

ForegroundProcess LookUpForeground() {
    ++fake::TheForeground().lookUps;
    return fake::TheForeground().process;
}

namespace fake {

ForegroundControls& TheForeground() {
    static ForegroundControls foreground;
    return foreground;
}

}  // namespace fake
}  // namespace zv
