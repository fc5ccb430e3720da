#include "stand_in/Foreground.h"

namespace zv {

ForegroundProcess LookUpForeground() {
    ++stand_in::TheForeground().lookUps;
    return stand_in::TheForeground().process;
}

namespace stand_in {

ForegroundControls& TheForeground() {
    static ForegroundControls foreground;
    return foreground;
}

}  // namespace stand_in
}  // namespace zv
