/* The game client of the end-to-end test, a Windows program.
 *
 * It writes to the folder "seen" what it was started with, copies there the files that a client
 * reads, and writes its options as numbers. Then it prints a lot, creates the file "ready" and
 * exits with code 42 when the file "end" appears. */

#include <stdio.h>
#include <windows.h>

#define EXIT_CODE 42
#define MEGABYTES_PRINTED 32

static const wchar_t *const files[] = {
    L"serverlist.txt", L"sn.bin", L"server.txt", L"zel_login.ini", L"Config.bin",
};

static void print_line(FILE *file, const wchar_t *text)
{
    char utf8[4096] = "";
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, sizeof utf8, NULL, NULL);
    fprintf(file, "%s\n", utf8);
}

static void write_options(void)
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

static void print_much(FILE *file)
{
    static char megabyte[1024 * 1024];
    memset(megabyte, 'z', sizeof megabyte);
    for (int i = 0; i < MEGABYTES_PRINTED; ++i) {
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
    print_line(about, folder);
    for (int i = 0; i < argc; ++i) {
        print_line(about, argv[i]);
    }
    fclose(about);
    write_options();

    print_much(stdout);
    print_much(stderr);

    fclose(_wfopen(L"seen\\ready", L"wb"));
    while (GetFileAttributesW(L"end") == INVALID_FILE_ATTRIBUTES) {
        Sleep(20);
    }
    return EXIT_CODE;
}
