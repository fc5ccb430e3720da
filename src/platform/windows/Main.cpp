// The entry point of the Windows program.
#include "platform/Session.h"
#include "platform/windows/Native.h"
#include "ui/startup/Application.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    zv::OpenSession();
    return zv::RunApplication(zv::TextOf(GetCommandLineW()));
}
