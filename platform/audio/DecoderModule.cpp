#include "platform/audio/DecoderModule.h"

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

Result<const DecoderModule *> loadModule()
{
    void *library = dlopen("liblumaverdine-decoder.so", RTLD_NOW | RTLD_LOCAL);
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
