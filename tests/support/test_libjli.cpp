// Stands in for a runtime's launch library: JLI_Launch prints what it was given to standard output, then does what its
// environment asks for.
//   TEST_JLI_ENTER_MAIN=1  the first call enters the program's `main` again, on a new thread, with the same vector
//   TEST_JLI_EXECUTE=1     the first call executes the program's file again, in the same process, with that vector
//   TEST_JLI_STATUS=N      result
// "@NAME" arguments become "NAME-1" and "NAME-2", "@" alone becomes nothing. Variants are compiled without JLI_Launch
// or without one of the list functions.

#include <dlfcn.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <thread>

namespace {

struct List {
    char **elements;
    std::size_t size;
    std::size_t capacity;
};

int allocations = 0;

void *allocate(std::size_t size) {
    ++allocations;
    return std::malloc(size);
}

} // namespace

extern "C" {

char *JLI_StringDup(const char *text) {
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<char *>(std::memcpy(allocate(size), text, size));
}

#ifndef TEST_JLI_WITHOUT_MEM_FREE
void JLI_MemFree(void *memory) {
    --allocations;
    std::free(memory);
}
#endif

List *JLI_List_new(std::size_t capacity) {
    auto *list = static_cast<List *>(allocate(sizeof(List)));
    *list = {static_cast<char **>(allocate(capacity * sizeof(char *))), 0, capacity};
    return list;
}

void JLI_List_add(List *list, char *text) {
    if (list->size == list->capacity) {
        list->capacity *= 2;
        list->elements = static_cast<char **>(std::realloc(list->elements, list->capacity * sizeof(char *)));
    }
    list->elements[list->size++] = text;
}

void JLI_InitArgProcessing(unsigned char hasJavaArgs, unsigned char disableArgFile) {
    std::printf("init %d %d\n", hasJavaArgs, disableArgFile);
}

List *JLI_PreprocessArg(const char *argument, unsigned char expandSourceOption) {
    if (*argument != '@' || expandSourceOption != 1) {
        return nullptr;
    }
    List *list = JLI_List_new(2);
    for (const char *suffix : {"-1", "-2"}) {
        if (argument[1] != '\0') {
            const std::size_t size = std::strlen(argument) + std::strlen(suffix);
            char *text = static_cast<char *>(allocate(size));
            std::snprintf(text, size, "%s%s", argument + 1, suffix);
            JLI_List_add(list, text);
        }
    }
    return list;
}

#ifndef TEST_JLI_WITHOUT_LAUNCH
int JLI_Launch(int argc, char **argv, int jargc, const char **jargv, int appclassc, const char **appclassv,
               const char *fullversion, const char *dotversion, const char *pname, const char *lname,
               unsigned char javaargs, unsigned char cpwildcard, unsigned char javaw, int ergo) {
    for (int i = 0; i < argc; ++i) {
        std::printf("%s\n", argv[i]);
    }
    std::printf("%s; %d %d %d %d; %s %s %s %s; %d %d %d %d; %d\n", argv[argc] == nullptr ? "null" : "not null", jargc,
                jargv != nullptr, appclassc, appclassv != nullptr, fullversion, dotversion, pname, lname, javaargs,
                cpwildcard, javaw, ergo, allocations);
    std::fflush(stdout);

    if (std::getenv("TEST_JLI_ENTER_MAIN") != nullptr && gettid() == getpid()) {
        unsetenv("KESTRAV_REEXEC"); // where runtimes do this, the variable does not exist
        const auto main = reinterpret_cast<int (*)(int, char **)>(dlsym(RTLD_DEFAULT, "main"));
        int result = -1;
        std::thread([&] { result = main(argc, argv); }).join();
        return result;
    }
    const char *times = std::getenv("TEST_JLI_EXECUTE");
    if (times != nullptr && *times != '\0') { // one call for each character
        setenv("TEST_JLI_EXECUTE", times + 1, 1);
        setenv("LD_LIBRARY_PATH", times, 1); // why runtimes do this
        execv("/proc/self/exe", argv);
    }
    const char *status = std::getenv("TEST_JLI_STATUS");
    return status == nullptr ? 0 : std::atoi(status);
}
#endif
}
