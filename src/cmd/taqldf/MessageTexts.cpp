// Asks the catalogs for a text once, and puts the arguments of each record in.
#include "MessageTexts.h"

#include <algorithm>
#include <cstring>

#include "VisibleText.h"
#include "i18n/unix/i18n_locale.h"
#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/log/LogIdentity.h"
#include "primitives/log/MessageBuilder.h"

namespace {

constexpr size_t ROOT_SIZE = 4096;
constexpr char UTF8[] = "UTF-8";

// The arguments with a blank between them.
size_t join(ArgViews args, char* out) {
    size_t used = 0;
    for (std::string_view arg : args) {
        if (used > 0) out[used++] = ' ';
        used += arg.copy(out + used, MessageTexts::SIZE - 1 - used);
        if (used == MessageTexts::SIZE - 1) break;
    }
    return used;
}

} // namespace

MessageTexts::~MessageTexts() {
    if (_handle != nullptr) (void)i18nClose(&_handle); // it is open
}

bool MessageTexts::open(const char* lang) {
    char root[ROOT_SIZE];
    const bool is_set = QENGetenv(QEN_ENV_MESSAGES_ROOT, root, sizeof root) == 0;
    i18nSettings settings;
    if (i18nSettle(&settings, is_set ? root : QEN_DEFAULT_MESSAGES_ROOT, lang) != I18N_SOK)
        return lang == nullptr;
    settings.codeset = UTF8; // nothing is converted
    bool is_open = i18nOpenSettled(&_handle, settings, QEN_MESSAGES_MODULE) == I18N_SOK;
    if (!is_open && lang == nullptr) {
        settings.lang = I18N_DEFAULT_LANG;
        is_open = i18nOpenSettled(&_handle, settings, QEN_MESSAGES_MODULE) == I18N_SOK;
    }
    _lang.assign(settings.lang.data(), settings.lang.size());
    for (size_t sev = 0; sev < _words.size(); ++sev) {
        char* text = nullptr;
        int32_t size = 0;
        const bool has_word =
            is_open && i18nGetSafeUTF8Msg(&_handle, I18N_CATEGORY_SEVERITY, static_cast<uint32_t>(sev), &text,
                                          &size) == I18N_SOK;
        _words[sev] = has_word ? std::string(text, static_cast<size_t>(size - 1))
                               : ulog_app_sev_name(static_cast<int>(sev));
    }
    return is_open || lang == nullptr;
}

std::string_view MessageTexts::severity_name(int sev) {
    return sev < SEV_APP_END ? ulog_app_sev_name(sev) : ulog_dbg_lev_name(sev - SEV_APP_END);
}

std::string_view MessageTexts::severity_word(int sev) const {
    const bool has_word = sev >= 0 && sev < SEV_APP_END && !_words[static_cast<size_t>(sev)].empty();
    return has_word ? std::string_view(_words[static_cast<size_t>(sev)]) : severity_name(sev);
}

const KnownMessage& MessageTexts::_learn(KnownMessage& message, uint32_t msgcat_id) {
    char umi[LOG_TEXT_SIZE];
    size_t umi_size = put_umi(umi, sizeof umi, LogIdentity::originator(), i18n_category_of(msgcat_id),
                              i18n_number_of(msgcat_id));
    while (umi_size > 0 && umi[umi_size - 1] == ' ') --umi_size;
    message.id.assign(umi, umi_size);
    message.key = msgcat_id;
    message.text.clear();
    message.pieces.clear();
    message.kind = KnownMessage::UNKNOWN;
    message.oddities = 0;
    if (i18n_number_of(msgcat_id) == 0) message.kind = KnownMessage::BARE;
    if (message.kind == KnownMessage::BARE || _handle == nullptr) return message;

    i18nTemplate found;
    const int rc = i18nGetTemplate(&_handle, i18n_category_of(msgcat_id), i18n_number_of(msgcat_id), &found);
    if (rc == I18N_SOK) {
        message.kind = KnownMessage::TEMPLATE;
        message.text = found.text;
        message.oddities = oddities_of(found.text);
        message.pieces.assign(found.pieces, found.pieces + found.piece_count);
        message.arg_count = found.arg_count;
        message.args_size_max = found.args_size_max;
    } else if (rc == I18N_EFAIL) {
        message.kind = KnownMessage::LOOKED_UP;
    }
    return message;
}

size_t MessageTexts::compose(const KnownMessage& message, ArgViews args, char* out) {
    args = args.first(std::min<size_t>(args.size(), I18N_MAX_ARGS));
    size_t args_size = 0;
    for (std::string_view arg : args) args_size += arg.size();
    if (message.kind != KnownMessage::TEMPLATE || args.size() != message.arg_count ||
        args_size > message.args_size_max)
        return _compose_anew(message, args, out);
    char* end = out;
    const auto put = [&end](const char* bytes, size_t size) {
        std::memcpy(end, bytes, size);
        end += size;
    };
    for (const i18n_piece& piece : message.pieces) {
        put(message.text.data() + piece._offset, piece._size);
        if (piece._arg == I18N_NO_ARG) continue;
        const auto arg = static_cast<size_t>(piece._arg);
        if (arg < args.size())
            put(args[arg].data(), args[arg].size());
        else
            put("???", 3);
    }
    return static_cast<size_t>(end - out);
}

size_t MessageTexts::_compose_anew(const KnownMessage& message, ArgViews args, char* out) {
    if (message.kind == KnownMessage::BARE) return join(args, out);
    const auto msgcat_id = static_cast<uint32_t>(message.key);
    size_t size = 0;
    if (_handle != nullptr && message.kind != KnownMessage::UNKNOWN &&
        i18nFormatSafeTo(&_handle, i18n_category_of(msgcat_id), i18n_number_of(msgcat_id), args.data(),
                         args.size(), out, SIZE, &size) == I18N_SOK)
        return size;
    return put_unknown_message(out, SIZE, message.id, args);
}
