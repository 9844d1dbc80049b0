#include "platform/Machine.h"

#include "platform/FileDescriptor.h"
#include "platform/linux/FileHeader.h"
#include "platform/uninterrupted.h"

#include <elf.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace kestrav::platform {

namespace {

struct Processor {
    ElfMachine machine;
    std::uint32_t otherWidth = EM_NONE; // the 32-bit form of a 64-bit processor, or the 64-bit form of a 32-bit one
    std::string_view folder;
};

constexpr auto processors = std::array{
    Processor{{EM_X86_64, false}, EM_386, "amd64"},
    Processor{{EM_386, false}, EM_X86_64, "i386"},
    Processor{{EM_AARCH64, false}, EM_ARM, "aarch64"},
    Processor{{EM_ARM, false}, EM_AARCH64, "arm"},
    Processor{{EM_PPC64, false}, EM_PPC, "ppc64le"},
    Processor{{EM_PPC64, true}, EM_PPC, "ppc64"},
    Processor{{EM_S390, true}, EM_NONE, "s390x"},
    Processor{{EM_RISCV, false}, EM_NONE, "riscv64"},
    Processor{{EM_LOONGARCH, false}, EM_NONE, "loongarch64"},
};

/// The processor that this process's own program is for; if the table does not list it, it has neither another width
/// nor a folder.
Processor ownProcessor() {
    const auto machine = elfMachine(FileHeader("/proc/self/exe"));
    const auto *known = std::find_if(processors.begin(), processors.end(),
                                     [&](const Processor &processor) { return processor.machine == machine; });
    return known != processors.end() ? *known : Processor{machine.value_or(ElfMachine()), EM_NONE, ""};
}

const Processor &thisProcessor() {
    static const Processor processor = ownProcessor();
    return processor;
}

} // namespace

bool isMacOS() {
    return false;
}

bool runsOnThisProcessor(const std::string &program) {
    const Processor &own = thisProcessor();
    const auto machine = elfMachine(FileHeader(program));
    const bool bothKnown = machine && own.machine.number != EM_NONE;
    return !bothKnown || *machine == own.machine || *machine == ElfMachine{own.otherWidth, own.machine.bigEndian};
}

bool loadsIntoThisProcess(const std::string &library) {
    return elfMachine(FileHeader(library)) == thisProcessor().machine && !isCutOff(library);
}

bool isCutOff(const std::string &library) {
    const FileDescriptor file = FileDescriptor::openRegularFile(library);
    struct stat status {};
    if (!file.valid() || ::fstat(file.get(), &status) != 0) {
        return false;
    }
    const auto readAt = [&](ElfW(Off) offset, auto &record) {
        const auto count =
            uninterrupted([&] { return ::pread(file.get(), &record, sizeof record, static_cast<off_t>(offset)); });
        return count == static_cast<ssize_t>(sizeof record);
    };
    ElfW(Ehdr) header{};
    if (!readAt(0, header) || std::memcmp(&header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_machine != thisProcessor().machine.number ||
        header.e_ident[EI_CLASS] != (sizeof(void *) == sizeof(Elf64_Addr) ? ELFCLASS64 : ELFCLASS32)) {
        return false; // the headers of another processor's library have another form; the system refuses it
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    for (unsigned index = 0; index < header.e_phnum; ++index) {
        ElfW(Phdr) segment{};
        if (!readAt(header.e_phoff + index * sizeof segment, segment) ||
            (segment.p_type == PT_LOAD && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset))) {
            return true;
        }
    }
    return false;
}

std::string_view processorFolder() {
    return thisProcessor().folder;
}

} // namespace kestrav::platform
