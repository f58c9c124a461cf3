// A program that does nothing until it is ended, for tests that need a
// process of a chosen name. Started as "sleeper EVENT", it sets the named
// event once it runs, so the test knows its modules are loaded.

#include <windows.h>

int wmain(int count, wchar_t** arguments) {
    if (count > 1) {
        HANDLE ready = OpenEventW(EVENT_MODIFY_STATE, FALSE, arguments[1]);
        if (ready) {
            SetEvent(ready);
            CloseHandle(ready);
        }
    }
    Sleep(INFINITE);
    return 0;
}
