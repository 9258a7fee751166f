/* Converts a package: convert PROFILE OUT.orv, both as absolute paths. */
#include <limits.h>
#include <locale.h>
#include <orvcasconv/orvcasconv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <uchar.h>

/* The library's name of a file: Z: is the root, and backslashes separate folders. */
static OrvChar* ToLibraryPath(const char* path) {
    OrvChar* name = malloc((strlen(path) + 3) * sizeof *name);
    if (name == NULL) {
        exit(EXIT_FAILURE);
    }
    mbstate_t state;
    memset(&state, 0, sizeof state);
    size_t length = 0;
    name[length++] = 'Z';
    name[length++] = ':';
    for (const char* end = path + strlen(path); path < end;) {
        char16_t unit = 0;
        const size_t taken = mbrtoc16(&unit, path, (size_t)(end - path), &state);
        if (taken == (size_t)-1 || taken == (size_t)-2) {
            fprintf(stderr, "this path is no UTF-8\n");
            exit(EXIT_FAILURE);
        }
        name[length++] = unit == '/' ? '\\' : unit;
        path += taken == (size_t)-3 ? 0 : taken; /* -3: the second half of a pair */
    }
    name[length] = 0;
    return name;
}

static void ShowText(const OrvChar* text) {
    mbstate_t state;
    memset(&state, 0, sizeof state);
    for (; *text != 0; ++text) {
        char bytes[MB_LEN_MAX];
        const size_t count = c16rtomb(bytes, *text, &state);
        fwrite(bytes, 1, count == (size_t)-1 ? 0 : count, stderr);
    }
}

/* Below the root come the targets, below them the stages of one target, and below those the files,
 * keys and so on of one stage. A line for each stage that is done. */
static uint32_t ShowStage(const OrvProgress* root) {
    static uint32_t shown = 0;
    const OrvProgress* targets = root->child;
    const OrvProgress* stages = targets == NULL ? NULL : targets->child;
    if (stages != NULL && stages->current != shown) {
        shown = stages->current;
        fprintf(stderr, "target %u of %u, stage %u of %u: ", (unsigned)targets->current + 1,
                (unsigned)targets->total, (unsigned)stages->current, (unsigned)stages->total);
        ShowText(stages->message);
        fputc('\n', stderr);
    }
    return 0;
}

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: convert PROFILE OUT.orv\n");
        return 2;
    }
    setlocale(LC_CTYPE, "C.UTF-8");
    OrvChar* profile = ToLibraryPath(argv[1]);
    OrvChar* output = ToLibraryPath(argv[2]);
    GUID* targets = NULL;
    uint32_t count = 0;
    const uint32_t status = CasToOrvW(profile, output, NULL, &targets, &count, ShowStage);
    printf("status %u, %u targets\n", (unsigned)status, (unsigned)count);
    free(targets);
    free(output);
    free(profile);
    return status == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
