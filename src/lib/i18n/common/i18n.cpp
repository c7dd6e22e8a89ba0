// Opening, closing and asking about a handle. The lookups are in i18n_lookup.cpp.
#include "i18n/common/i18n.h"

#include <cstdio>
#include <cstdlib>
#include <new>

#include "i18n/common/i18n_internal.h"
#include "i18n/common/i18n_lang.h"
#include "i18n/unix/i18n_locale.h"

inline namespace taq_1 {

void i18n_throw_bad_alloc() {
    throw std::bad_alloc();
}

namespace {

// Fills a new record; on failure it is deleted as far as it got. Throws std::bad_alloc.
int open_record(i18n_t* i18np, const i18nSettings& settings, const char* modulep) {
    i18np->_langp = settings.lang;
    i18np->_modulep = modulep == nullptr ? "" : modulep;
    i18np->_bmc_root_pathp = settings.root;
    const char* const lang = settings.lang.c_str();
    if (i18n_conv_open(lang, settings.codeset.c_str(), &i18np->_cd, &i18np->_need_conversion) != 0)
        return I18N_ECONVOPEN;
    if (i18np->_need_conversion) i18np->_traits = i18n_conv_traits_of(settings.codeset);

    i18np->_conv_bufferp.reset(i18n_checked(new (std::nothrow) char[I18N_CONV_BUFFSIZE]()));
    i18np->_conv_buffsize = I18N_CONV_BUFFSIZE;
    i18np->_bmc_bufferp.reset(i18n_checked(new (std::nothrow) char[I18N_BMC_BUFFSIZE]()));
    i18np->_bmc_buffsize = I18N_BMC_BUFFSIZE;
    return bmc_create_table(settings.root.c_str(), lang, modulep, &i18np->_bmc_tablep);
}

} // namespace

i18n_t::~i18n_t() {
    (void)i18n_conv_close(_cd); // always 0
    for (i18n_mru_t& slot : _mru_list) {
        if (slot._bmc_ndx >= 0) --_open_handles;
        slot._fp.close();
    }
    I18N_ASSERT(_open_handles == 0);
}

void i18n_assertion_failed(const char* file, int line) {
    (void)std::fprintf(stderr, "ASSERTION FAILED: file: %s line %d\n", file, line);
    std::abort();
}

int i18nSettle(i18nSettings* settingsp, const char* pathp, const char* langp) {
    if (pathp == nullptr) return I18N_EINVAL;
    char lang[I18N_LANG_SIZE];
    if (langp == nullptr || *langp == '\0') {
        (void)i18n_determine_lang(lang, sizeof lang); // always 0
        langp = lang;
    }
    try {
        settingsp->root = pathp;
        settingsp->lang = langp;
        settingsp->codeset = i18n_lang_get_system_codeset();
        return I18N_SOK;
    } catch (const std::bad_alloc&) {
        return I18N_ENOMEM;
    }
}

int i18nOpenSettled(void** i18nhp, const i18nSettings& settings, const char* modulep) {
    if (i18nhp == nullptr) return I18N_EBADHANDLE;
    try {
        std::unique_ptr<i18n_t> i18np(i18n_checked(new (std::nothrow) i18n_t));
        if (int rc = open_record(i18np.get(), settings, modulep)) return rc;
        *i18nhp = i18np.release();
        return I18N_SOK;
    } catch (const std::bad_alloc&) {
        return I18N_ENOMEM;
    }
}

int i18nOpen(void** i18nhp, const char* pathp, const char* modulep, const char* langp) {
    i18nSettings settings;
    if (int rc = i18nSettle(&settings, pathp, langp)) return rc;
    return i18nOpenSettled(i18nhp, settings, modulep);
}

int i18nClose(void** i18nhp) {
    i18n_t* i18np = i18n_record(i18nhp);
    if (i18np == nullptr) return I18N_EFAIL;
    delete i18np;
    *i18nhp = nullptr;
    return I18N_SOK;
}

int i18nChangeLang(void** i18nhp, const char* langp) {
    const i18n_t* i18np = i18n_record(i18nhp);
    if (i18np == nullptr) return I18N_EBADHANDLE;
    if (langp != nullptr && i18np->_langp == langp) return I18N_SOK;
    try {
        const i18n_string wanted = langp != nullptr ? langp : ""; // may be a text of the handle
        const i18n_string lang = i18np->_langp;
        const i18n_string module = i18np->_modulep;
        const i18n_string root = i18np->_bmc_root_pathp;
        (void)i18nClose(i18nhp); // the handle is open
        if (i18nOpen(i18nhp, root.c_str(), module.c_str(), wanted.c_str()) == I18N_SOK) return I18N_SOK;
        (void)i18nOpen(i18nhp, root.c_str(), module.c_str(), lang.c_str()); // else the handle stays null
        return I18N_EFAIL;
    } catch (const std::bad_alloc&) { // only the copies throw, while the old handle is still open
        return I18N_ENOMEM;
    }
}

int i18nGetOpenHandleCount(void** i18nhp) {
    const i18n_t* i18np = i18n_record(i18nhp);
    return i18np == nullptr ? static_cast<int>(I18N_EFAIL) : i18np->_open_handles;
}

int i18nGetIDRange(void** i18nhp, uint32_t catID, uint32_t* minp, uint32_t* maxp) {
    const i18n_t* i18np = i18n_record(i18nhp);
    if (i18np == nullptr) return I18N_EFAIL;
    for (const bmc_t& bmc : i18np->_bmc_tablep) {
        if (bmc._category != catID) continue;
        *minp = bmc._msg_id_min;
        *maxp = bmc._msg_id_max;
        return I18N_SOK;
    }
    return I18N_EFAIL;
}

void i18nPrintStats(void** i18nhp) {
    const i18n_t* i18np = i18n_record(i18nhp);
    if (i18np == nullptr) return;
    std::printf("root: %s\nmodule: %s\nlanguage: %s\n", i18np->_bmc_root_pathp.c_str(),
                i18np->_modulep.c_str(), i18np->_langp.c_str());
    std::printf("need conversion: %d\ncatalogs: %zu\nopen handles: %d\n", i18np->_need_conversion,
                i18np->_bmc_tablep.size(), i18np->_open_handles);
    std::printf("conversion buffer: %zu\ntext buffer: %zu\n", i18np->_conv_buffsize, i18np->_bmc_buffsize);
    for (int32_t i = 0; i < I18N_MRU_COUNT; ++i) {
        const i18n_mru_t& slot = i18np->_mru_list[i];
        std::printf("slot %d: catalog %d, hits %u, %s\n", i, slot._bmc_ndx, slot._hits,
                    slot._fp.is_open() ? "open" : "empty");
    }
}

const char* i18nGetSystemCodeset() {
    return i18n_lang_get_system_codeset();
}

int i18nConvertMsg(const char* from_codep, const char* to_codep, const char* msgp, char* conv_bufferp,
                   size_t* conv_sizep) {
    if (from_codep == nullptr || *from_codep == '\0') return I18N_ENOCODESET;
    if (to_codep == nullptr || *to_codep == '\0') return I18N_ENOCODESET;
    if (i18n_equal_nocase(from_codep, to_codep)) return I18N_ESAMECODESET;
    return i18n_conv_convert(from_codep, to_codep, msgp, conv_bufferp, conv_sizep);
}

i18n_bool i18nIsValidUTFString(const char* s) {
    return s != nullptr && i18n_is_utf8(s) ? I18N_TRUE : I18N_FALSE;
}

} // namespace taq_1
