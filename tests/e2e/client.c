/* The game client of the end-to-end test, a Windows program.
 *
 * It tells in the folder "seen" what it was started with, copies there the files that a client
 * reads, and writes its options out as numbers. Then it talks a lot, says that it is ready, and ends with the code 42 when told so. */

#include <stdio.h>
#include <windows.h>

#define EXIT_CODE 42
#define MEGABYTES_TOLD 32

static const wchar_t *const files[] = {
    L"serverlist.txt", L"sn.bin", L"server.txt", L"zel_login.ini", L"Config.bin",
};

static void tell(FILE *file, const wchar_t *text)
{
    char utf8[4096] = "";
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, sizeof utf8, NULL, NULL);
    fprintf(file, "%s\n", utf8);
}

static void tell_options(void)
{
    short words[15] = {0};
    FILE *options = _wfopen(L"Config.bin", L"rb");
    FILE *file = _wfopen(L"seen\\options.txt", L"wb");
    if (options && file && fread(words, sizeof *words, 15, options) == 15) {
        for (int i = 0; i < 15; ++i) {
            fprintf(file, i < 14 ? "%d " : "%d\n", words[i]);
        }
    }
    if (options) {
        fclose(options);
    }
    if (file) {
        fclose(file);
    }
}

static void talk(FILE *file)
{
    static char megabyte[1024 * 1024];
    memset(megabyte, 'z', sizeof megabyte);
    for (int i = 0; i < MEGABYTES_TOLD; ++i) {
        fwrite(megabyte, 1, sizeof megabyte, file);
    }
    fflush(file);
}

int wmain(int argc, wchar_t **argv)
{
    wchar_t folder[MAX_PATH] = L"";
    wchar_t copy[MAX_PATH];
    FILE *about;

    CreateDirectoryW(L"seen", NULL);
    for (size_t i = 0; i < sizeof files / sizeof *files; ++i) {
        _snwprintf(copy, MAX_PATH, L"seen\\%ls", files[i]);
        CopyFileW(files[i], copy, FALSE);
    }
    about = _wfopen(L"seen\\about.txt", L"wb");
    if (!about) {
        return 1;
    }
    GetCurrentDirectoryW(MAX_PATH, folder);
    tell(about, folder);
    for (int i = 0; i < argc; ++i) {
        tell(about, argv[i]);
    }
    fclose(about);
    tell_options();

    talk(stdout);
    talk(stderr);

    fclose(_wfopen(L"seen\\ready", L"wb"));
    while (GetFileAttributesW(L"end") == INVALID_FILE_ATTRIBUTES) {
        Sleep(20);
    }
    return EXIT_CODE;
}
