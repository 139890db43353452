#include "decoder/DecoderModule.h"

#include <dlfcn.h>
#include <filesystem>

using namespace Qt::StringLiterals;

namespace {

/// The module lies beside the program, in the build folder as when it is installed. Never looked for by its
/// name alone: an environment or a current folder would decide what is loaded.
std::filesystem::path modulePath()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return "/" / program.parent_path() / "liblumaverdine-decoder.so"; // absolute even without an answer
}

Result<const DecoderModule *> loadModule()
{
    void *library = dlopen(modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    void *entry = library ? dlsym(library, decoderModuleEntryName) : nullptr;
    if (!entry)
        return Error{u"Falta el módulo de decodificación (%1)."_s.arg(QString::fromLocal8Bit(dlerror()))};
    return reinterpret_cast<DecoderModuleEntry *>(entry)();
}

} // namespace

Result<const DecoderModule *> DecoderModule::load()
{
    static const Result<const DecoderModule *> module = loadModule();
    return module;
}
