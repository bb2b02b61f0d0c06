// Files as C and POSIX know them. The game has a file SHIPPED.TXT, "came with the game\n".
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "check.h"

static void WriteFile(const char* name, const char* text) {
    FILE* const file = fopen(name, "w");
    CHECK(file != NULL);
    CHECK(fputs(text, file) >= 0);
    CHECK(fclose(file) == 0);
}

static const char* ReadFile(const char* name) {
    static char text[1000];
    FILE* const file = fopen(name, "r");
    if (file == NULL) return "(none)";
    text[fread(text, 1, sizeof text - 1, file)] = 0;
    CHECK(feof(file));
    CHECK(fclose(file) == 0);
    return text;
}

static void Modes(void) {
    WriteFile("a.txt", "one\ntwo\n");
    CHECK(strcmp(ReadFile("a.txt"), "one\ntwo\n") == 0);
    CHECK(strcmp(ReadFile("/a.txt"), "one\ntwo\n") == 0);
    CHECK(strcmp(ReadFile("./x/../a.txt"), "one\ntwo\n") == 0);
    FILE* file = fopen("a.txt", "a");
    CHECK(fputs("three\n", file) >= 0);
    CHECK(ftell(file) == 14);
    fclose(file);
    CHECK(strcmp(ReadFile("a.txt"), "one\ntwo\nthree\n") == 0);
    file = fopen("a.txt", "r+");
    CHECK(fseek(file, 4, SEEK_SET) == 0);
    CHECK(fputs("TWO", file) >= 0);
    CHECK(fseek(file, 0, SEEK_CUR) == 0);
    CHECK(fgetc(file) == '\n' && fgetc(file) == 't');
    fclose(file);
    CHECK(strcmp(ReadFile("a.txt"), "one\nTWO\nthree\n") == 0);
    CHECK(fopen("a.txt", "wx") == NULL && errno == EEXIST);
    CHECK(fopen("none.txt", "r") == NULL && errno == ENOENT);
    CHECK(fopen("none.txt", "r+") == NULL && errno == ENOENT);
    CHECK(fopen("no/folder.txt", "w") == NULL && errno == ENOENT);
    CHECK(fopen("a.txt/b", "w") == NULL && errno == ENOTDIR);
    file = fopen("a.txt", "r");
    CHECK(fputc('x', file) == EOF && ferror(file));
    fclose(file);
    file = fopen("a.txt", "w+");
    CHECK(fputs("again", file) >= 0);
    rewind(file);
    CHECK(fgetc(file) == 'a');
    fclose(file);
}

static void Seeking(void) {
    FILE* const file = fopen("seek.bin", "w+b");
    for (int i = 0; i < 1000; ++i) fputc(i & 0xFF, file);
    CHECK(fseek(file, -1, SEEK_END) == 0 && fgetc(file) == (999 & 0xFF));
    CHECK(fgetc(file) == EOF && feof(file));
    CHECK(fseek(file, -10, SEEK_CUR) == 0 && ftell(file) == 990 && !feof(file));
    CHECK(fgetc(file) == (990 & 0xFF));
    CHECK(fseek(file, -2000, SEEK_CUR) != 0);
    CHECK(fseek(file, 2000, SEEK_SET) == 0 && fgetc(file) == EOF);
    CHECK(fputc('!', file) == '!');
    CHECK(fseek(file, 0, SEEK_END) == 0 && ftell(file) == 2001);
    CHECK(fseek(file, 1500, SEEK_SET) == 0 && fgetc(file) == 0);
    CHECK(ungetc('u', file) == 'u' && fgetc(file) == 'u');
    fpos_t position;
    CHECK(fgetpos(file, &position) == 0 && fseek(file, 3, SEEK_SET) == 0);
    CHECK(fgetc(file) == 3 && fsetpos(file, &position) == 0 && ftell(file) == 1501);
    fclose(file);

    const int fd = open("seek.bin", O_RDWR);
    char bytes[4];
    CHECK(lseek(fd, 0, SEEK_END) == 2001);
    CHECK(pread(fd, bytes, 4, 10) == 4 && bytes[0] == 10 && bytes[3] == 13);
    CHECK(pwrite(fd, "PQ", 2, 11) == 2 && pread(fd, bytes, 4, 10) == 4);
    CHECK(memcmp(bytes, "\nPQ\r", 4) == 0);
    CHECK(lseek(fd, 0, SEEK_CUR) == 2001 && read(fd, bytes, 4) == 0);
    CHECK(ftruncate(fd, 12) == 0 && lseek(fd, 0, SEEK_END) == 12);
    CHECK(pread(fd, bytes, 4, 10) == 2 && bytes[1] == 'P');
    CHECK(ftruncate(fd, 20) == 0 && lseek(fd, 0, SEEK_END) == 20);
    struct stat status;
    CHECK(fstat(fd, &status) == 0 && status.st_size == 20 && S_ISREG(status.st_mode));
    close(fd);
    CHECK(read(fd, bytes, 1) == -1 && errno == EBADF);
}

static void Shipped(void) {
    struct stat status;
    CHECK(stat("SHIPPED.TXT", &status) == 0 && status.st_size == 19);
    CHECK(strcmp(ReadFile("SHIPPED.TXT"), "came with the game\n") == 0);
    CHECK(remove("SHIPPED.TXT") != 0 && errno == EROFS);
    CHECK(rename("SHIPPED.TXT", "MINE.TXT") != 0 && errno == EROFS);
    // Writing to it makes a copy in the data folder, which hides it.
    FILE* const file = fopen("SHIPPED.TXT", "a");
    CHECK(fputs("and was written to\n", file) >= 0);
    fclose(file);
    CHECK(strcmp(ReadFile("SHIPPED.TXT"), "came with the game\nand was written to\n") == 0);
    CHECK(remove("SHIPPED.TXT") == 0);
    CHECK(strcmp(ReadFile("SHIPPED.TXT"), "came with the game\n") == 0);
}

static void Names(void) {
    struct stat status;
    CHECK(mkdir("sub", 0777) == 0);
    CHECK(mkdir("sub", 0777) != 0 && errno == EEXIST);
    CHECK(mkdir("none/sub", 0777) != 0 && errno == ENOENT);
    CHECK(stat("sub", &status) == 0 && S_ISDIR(status.st_mode));
    CHECK(stat("sub/", &status) == 0 && stat(".", &status) == 0 && stat("/", &status) == 0);
    WriteFile("sub/one", "1");
    WriteFile("sub/two", "2");
    CHECK(stat("sub/one/", &status) != 0 && errno == ENOTDIR);
    CHECK(mkdir("sub/deep", 0777) == 0);
    CHECK(rmdir("sub") != 0 && errno == ENOTEMPTY);
    CHECK(rmdir("sub/one") != 0 && errno == ENOTDIR);
    CHECK(unlink("sub/deep") != 0);
    CHECK(rename("sub/one", "sub/two") == 0);
    CHECK(strcmp(ReadFile("sub/two"), "1") == 0 && access("sub/one", F_OK) != 0);
    CHECK(rename("sub/two", "nowhere/two") != 0 && errno == ENOENT);
    CHECK(rename("sub/none", "sub/x") != 0 && errno == ENOENT);
    CHECK(rename("sub/two", "sub/deep/three") == 0);
    CHECK(rename("sub", "moved") == 0);
    CHECK(strcmp(ReadFile("moved/deep/three"), "1") == 0);
    CHECK(chdir("moved/deep") == 0);
    CHECK(strcmp(ReadFile("three"), "1") == 0);
    CHECK(strcmp(ReadFile("../deep/three"), "1") == 0);
    char path[100];
    CHECK(getcwd(path, sizeof path) != NULL && strcmp(path, "/moved/deep") == 0);
    CHECK(chdir("/") == 0);
    CHECK(remove("moved/deep/three") == 0 && remove("moved/deep") == 0 && rmdir("moved") == 0);
    CHECK(access("moved", F_OK) != 0 && errno == ENOENT);
}

static int Compare(const void* a, const void* b) {
    return strcmp(*(char* const*)a, *(char* const*)b);
}

static void Listing(void) {
    char* names[32];
    int count = 0;
    mkdir("list", 0777);
    for (int i = 0; i < 20; ++i) {
        char name[40];
        snprintf(name, sizeof name, "list/file-with-a-long-name-%02d", i);
        WriteFile(name, "");
    }
    mkdir("list/folder", 0777);
    DIR* const folder = opendir("list");
    CHECK(folder != NULL);
    for (struct dirent* entry; (entry = readdir(folder)) != NULL;) {
        CHECK((entry->d_type == DT_DIR) == (strncmp(entry->d_name, "file", 4) != 0));
        names[count++] = strdup(entry->d_name);
        // Looking at files meanwhile disturbs nothing.
        struct stat status;
        char path[60] = "list/";
        CHECK(stat(strcat(path, entry->d_name), &status) == 0);
    }
    CHECK(count == 23);
    qsort(names, (size_t)count, sizeof *names, Compare);
    CHECK(strcmp(names[0], ".") == 0 && strcmp(names[1], "..") == 0);
    CHECK(strcmp(names[21], "file-with-a-long-name-19") == 0 && strcmp(names[22], "folder") == 0);
    rewinddir(folder);
    CHECK(readdir(folder) != NULL);
    closedir(folder);
    CHECK(opendir("list/none") == NULL && errno == ENOENT);
    for (int i = 2; i < count; ++i) {
        char path[60] = "list/";
        CHECK(remove(strcat(path, names[i])) == 0);
    }
    CHECK(rmdir("list") == 0);
    CHECK(opendir("list") == NULL);
}

static void Temporary(void) {
    FILE* const file = tmpfile();
    CHECK(file != NULL && fputs("gone soon", file) >= 0);
    rewind(file);
    CHECK(fgetc(file) == 'g');
    char name[L_tmpnam];
    CHECK(tmpnam(name) == name && access(name, F_OK) != 0);
    char pattern[] = "/tmp/XXXXXX";
    const int fd = mkstemp(pattern);
    CHECK(fd >= 0 && write(fd, "x", 1) == 1 && close(fd) == 0 && unlink(pattern) == 0);
    CHECK(fclose(file) == 0);
}

static void ManyAtOnce(void) {
    FILE* files[60];
    char name[20];
    for (int i = 0; i < 60; ++i) {
        snprintf(name, sizeof name, "many%d", i);
        files[i] = fopen(name, "w+");
        CHECK(files[i] != NULL && fprintf(files[i], "%d", i * 7) > 0);
    }
    for (int i = 59; i >= 0; --i) {
        int number = 0;
        rewind(files[i]);
        CHECK(fscanf(files[i], "%d", &number) == 1 && number == i * 7);
        fclose(files[i]);
        snprintf(name, sizeof name, "many%d", i);
        CHECK(remove(name) == 0);
    }
}

int main(void) {
    Modes();
    Seeking();
    Shipped();
    Names();
    Listing();
    Temporary();
    ManyAtOnce();
    remove("a.txt");
    remove("seek.bin");
    CHECK(fgetc(stdin) == EOF && feof(stdin));
    if (problems == 0) puts("all is well");
    return problems;
}
