// Presses keys as a keyboard does, from a process without a window: PressKeys VK [VK...], codes in decimal.
// Presses all keys in order and releases them in reverse.
#include <windows.h>

#include <cwchar>
#include <vector>

extern "C" int wmain(int count, wchar_t** values);

extern "C" int wmain(int count, wchar_t** values) {
    std::vector<INPUT> inputs;
    for (int i = 1; i < count; ++i) {
        INPUT input{};
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = static_cast<WORD>(wcstol(values[i], nullptr, 10));
        inputs.push_back(input);
    }
    for (int i = count - 2; i >= 0; --i) {
        INPUT input = inputs[static_cast<std::size_t>(i)];
        input.ki.dwFlags = KEYEVENTF_KEYUP;
        inputs.push_back(input);
    }
    return SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT)) == inputs.size() ? 0 : 1;
}
