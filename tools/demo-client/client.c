/* The demonstration's game client, a small Windows program.
 *
 * Writes its working directory, its arguments and the files that the launcher prepared to
 * "visto.txt", shows the same text in a window for a few seconds, and exits with code 42. */

#include <stdio.h>
#include <windows.h>

#define EXIT_CODE 42
#define SECONDS_SHOWN 4

static char seen[8192] = "";

static void note(const char *line)
{
    strncat(seen, line, sizeof seen - strlen(seen) - 1);
}

static void note_file(const char *name)
{
    char line[512];
    FILE *file = fopen(name, "rb");
    snprintf(line, sizeof line, "[%s]%s\n", name, file ? "" : " ausente");
    note(line);
    if (!file) {
        return;
    }
    while (fgets(line, sizeof line, file)) {
        note(line);
    }
    fclose(file);
}

static LRESULT CALLBACK on_message(HWND window, UINT message, WPARAM w, LPARAM l)
{
    PAINTSTRUCT paint;
    RECT area;
    switch (message) {
    case WM_PAINT:
        BeginPaint(window, &paint);
        GetClientRect(window, &area);
        InflateRect(&area, -16, -16);
        DrawTextA(paint.hdc, seen, -1, &area, DT_LEFT | DT_NOPREFIX);
        EndPaint(window, &paint);
        return 0;
    case WM_TIMER:
    case WM_CLOSE:
        PostQuitMessage(EXIT_CODE);
        return 0;
    }
    return DefWindowProcA(window, message, w, l);
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR command_line, int show)
{
    (void)previous;
    (void)show;

    char folder[MAX_PATH] = "";
    char line[MAX_PATH + 64];
    GetCurrentDirectoryA(sizeof folder, folder);
    snprintf(line, sizeof line, "pasta de trabalho: %s\n", folder);
    note(line);
    snprintf(line, sizeof line, "argumentos: \"%s\"\n", command_line);
    note(line);
    note_file("serverlist.txt");
    note_file("sn.bin");
    note_file("server.txt");
    note_file("zel_login.ini");
    note_file("data\\novidades.txt");
    note_file("ZEL_patched.exe");

    FILE *report = fopen("visto.txt", "wb");
    if (!report) {
        return 1;
    }
    fputs(seen, report);
    fclose(report);

    WNDCLASSA window_class = {0};
    window_class.lpfnWndProc = on_message;
    window_class.hInstance = instance;
    window_class.hCursor = LoadCursor(NULL, IDC_ARROW);
    window_class.hbrBackground = (HBRUSH)(COLOR_WINDOW + 1);
    window_class.lpszClassName = "DemoClient";
    RegisterClassA(&window_class);
    HWND window =
        CreateWindowA("DemoClient", "Cliente de demonstracao", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                      160, 60, 640, 520, NULL, NULL, instance, NULL);
    if (window) {
        SetTimer(window, 1, SECONDS_SHOWN * 1000, NULL);
    } else {
        PostQuitMessage(EXIT_CODE);
    }
    MSG message;
    while (GetMessageA(&message, NULL, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return (int)message.wParam;
}
