// The option parser: one pass that classifies the arguments, checks of their shape, then one mode.
#include "LdfFile.h"
#include "messages.h"
#include "taqmsg.h"

#include "platform/unix/QENDefaults.h"
#include "platform/unix/QENPlatform.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/strings/QENString.h"
#include "primitives/strings/argvalue.h"
#include "primitives/utils/QENUtils.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

const char* current_filename = nullptr;
int current_lineno = 0;

namespace {

constexpr int MAX_ARGUMENTS = 1024; // the program's name not counted
constexpr size_t POSITIONS = 2048;
constexpr int ONAME_BUCKETS = 32;
constexpr int TAIL_MAX_ARGC = 7;
constexpr size_t ROOT_SIZE = 4096;

enum position_class : char { NOT_SEEN, OPTION, VALUE };

struct OptionRow {
    argvalue_t code;
    bool takes_value;
    int flag;
};
constexpr OptionRow option_rows[] = {{ARG_ANY, false, TAQMSG_ANY},
                                     {ARG_CATEGORY, true, 0},
                                     {ARG_DBG, false, TAQMSG_DBG},
                                     {ARG_HELP, false, 0},
                                     {ARG_INFO, false, 0},
                                     {ARG_LANG, true, 0},
                                     {ARG_LIST, false, 0},
                                     {ARG_MSGID, true, 0},
                                     {ARG_ONAME, true, TAQMSG_MATCH_PIECES},
                                     {ARG_OTYPE, true, 0},
                                     {ARG_PATH, true, 0},
                                     {ARG_SEV, true, 0},
                                     {ARG_TAIL, false, 0},
                                     {ARG_TRACE, false, TAQMSG_TRACE}};

const OptionRow* find_option(const char* word) {
    const argvalue_t code = argvalue(word);
    for (const OptionRow& row : option_rows)
        if (row.code == code) return &row;
    return nullptr;
}

int to_int(const char* text) {
    const long value = std::strtol(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    return value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

// A wrong argument has been reported: the usage follows.
int refused() {
    usage();
    return TAQMSG_USAGE_ERROR;
}

class Arguments {
public:
    Arguments(int argc, char** argv) : _argc(argc), _argv(argv) {}

    int run();

private:
    int _scan();
    bool _classify(int i);
    bool _take_tail_count();
    bool _shape_is_right() const;
    int _list() const;
    int _info();
    int _tail();
    int _display();
    bool _take_path();
    bool _take_language() const;
    bool _take_severity();
    bool _take_object_type();
    bool _take_object_names();
    bool _take_numbers();
    bool _take_file();

    bool _given(argvalue_t code) const { return _arg[code] != 0; }
    // The value right behind an option, null when there is none.
    const char* _value_of(argvalue_t code) const {
        const int next = _arg[code] + 1;
        return next < _argc && _pos[next] == VALUE ? _argv[next] : nullptr;
    }

    const int _argc;
    char** const _argv;
    char _pos[POSITIONS] = {}; // class of each position
    int _arg[ARG_ERROR] = {};  // where each option stood last, 0 when absent
    int _optcnt = 0;
    int _last_opt = 0;
    bool _need_data = false; // the last option takes a value
    const char* _unknown = nullptr;
    int _flags = 0;

    const char* _msg_pathp = nullptr;
    const char* _filep = nullptr;
    int _tail_value = 0;
    int _msg_sev = LDF_ANY_CODE;
    int _msg_otype = LDF_ANY_CODE;
    int _msg_id = LDF_ANY_ID;
    int _cat_id = LDF_ANY_ID;
    std::unique_ptr<HashTable> _oname_hashp;
};

int Arguments::run() {
    if (_argc > MAX_ARGUMENTS + 1) {
        TAQMSG_REPORT(TOO_MANY_ARGUMENTS, MAX_ARGUMENTS);
        return refused();
    }
    if (_scan() != TAQMSG_OK) return refused();
    if (_given(ARG_HELP) || _argc <= 1) {
        usage();
        return TAQMSG_OK;
    }
    if (!_take_tail_count()) return refused();
    if (!_shape_is_right() && !_given(ARG_ONAME) && _argc - 2 != _arg[ARG_TAIL]) {
        TAQMSG_REPORT(BAD_COUNT);
        return refused();
    }
    if (_given(ARG_LIST)) return _list();
    if (_arg[ARG_INFO] == 1 && _argc >= 3) return _info();
    if (_given(ARG_TAIL) && _argc >= 3 && _argc <= TAIL_MAX_ARGC) return _tail();
    return _display();
}

int Arguments::_scan() {
    for (int i = 1; i < _argc && _unknown == nullptr; ++i) {
        if (!QENUtils::is_ascii_str(_argv[i])) {
            TAQMSG_REPORT(NOT_ASCII);
            return TAQMSG_USAGE_ERROR;
        }
        if (!_classify(i)) _unknown = _argv[i];
    }
    if (_unknown == nullptr) return TAQMSG_OK;
    TAQMSG_REPORT(UNKNOWN_OPTION, _unknown);
    return TAQMSG_USAGE_ERROR;
}

// False for an unknown option. Removes a "%" at the start of a value: "%-x" gives the value "-x".
bool Arguments::_classify(int i) {
    char* const word = _argv[i];
    if (const OptionRow* row = find_option(word)) {
        ++_optcnt;
        _arg[row->code] = i;
        _pos[i] = OPTION;
        _last_opt = i;
        _need_data = row->takes_value;
        _flags |= row->flag;
        return true;
    }
    if (word[0] == '-') return false;
    if (word[0] == '%') std::memmove(word, word + 1, std::strlen(word));
    _pos[i] = VALUE;
    return true;
}

// The count is optional: the last argument is the file, never the count.
bool Arguments::_take_tail_count() {
    if (!_given(ARG_TAIL) || _arg[ARG_TAIL] == _argc - 2) return true;
    const char* count = _value_of(ARG_TAIL);
    if (count == nullptr) return true;
    _tail_value = to_int(count);
    if (_tail_value < 1) {
        TAQMSG_REPORT(BAD_TAIL);
        return false;
    }
    _need_data = true;
    return true;
}

bool Arguments::_shape_is_right() const {
    const bool ends_well = _optcnt == 0 || _pos[_argc - 1] == VALUE || _given(ARG_LIST);
    return ends_well && _argc - 1 - _last_opt <= (_need_data ? 2 : 1);
}

int Arguments::_list() const {
    char root[ROOT_SIZE];
    if (QENGetenv(QEN_ENV_LDF_ROOT, root, sizeof root) != 0)
        qenstrlcpy(root, QEN_DEFAULT_DATA_ROOT, sizeof root);
    const bool has_root = QENCheckDir(root) != 0;
    const bool cut = qenstrlcat(root, LDF_SUBDIR, sizeof root) >=
                     sizeof root; // a path that was cut may name another folder
    if (has_root && !cut && QENCheckDir(root)) return list_ldfs(root);
    explain_missing_folder();
    return TAQMSG_USAGE_ERROR;
}

int Arguments::_info() {
    if (!_take_path() || !_take_file()) return refused();
    return display_info(_msg_pathp, _filep);
}

int Arguments::_tail() {
    if (!_take_path() || !_take_file() || !_take_language()) return refused();
    return display_tail(_msg_pathp, _filep, _tail_value, _flags);
}

int Arguments::_display() {
    if (!_take_language() || !_take_path() || !_take_severity() || !_take_object_type() ||
        !_take_object_names() || !_take_numbers())
        return refused();
    if (_argc == 2 && (_given(ARG_TAIL) || _given(ARG_INFO))) {
        TAQMSG_REPORT(BAD_COUNT);
        return refused();
    }
    if (!_take_file()) return refused();
    return display_ldf(_msg_pathp, _filep, _msg_sev, _msg_otype, _oname_hashp.get(), _cat_id, _msg_id,
                       _flags);
}

bool Arguments::_take_path() {
    if (!_given(ARG_PATH)) return true;
    _msg_pathp = _value_of(ARG_PATH);
    if (_msg_pathp == nullptr) TAQMSG_REPORT(BAD_PATH);
    return _msg_pathp != nullptr;
}

bool Arguments::_take_language() const {
    if (!_given(ARG_LANG)) return true;
    const char* lang = _value_of(ARG_LANG);
    if (lang == nullptr) {
        TAQMSG_REPORT(BAD_LANGUAGE);
        return false;
    }
    for (ILog* log : {_unified_log_function__, _unified_logerr_function__})
        if (log != nullptr) (void)log->set_lang(lang); // an unknown language leaves the present one in use
    return true;
}

bool Arguments::_take_severity() {
    if (!_given(ARG_SEV)) return true;
    constexpr char LETTERS[] = "CEWNI"; // in the order of the severities
    const char* value = _value_of(ARG_SEV);
    const char letter = value != nullptr && std::strlen(value) == 1 ? value[0] : '\0';
    const char* found = letter != '\0'
                            ? std::strchr(LETTERS, letter >= 'a' && letter <= 'z' ? letter - 32 : letter)
                            : nullptr;
    if (found == nullptr) {
        TAQMSG_REPORT(BAD_SEVERITY);
        return false;
    }
    _msg_sev = static_cast<int>(found - LETTERS);
    return true;
}

bool Arguments::_take_object_type() {
    if (!_given(ARG_OTYPE)) return true;
    _msg_otype = QENGetObjTag(_value_of(ARG_OTYPE));
    if (_msg_otype == OBJTAG_ERR) TAQMSG_REPORT(BAD_OBJECT_TYPE);
    return _msg_otype != OBJTAG_ERR;
}

bool Arguments::_take_object_names() {
    if (!_given(ARG_ONAME)) return true;
    if (_value_of(ARG_ONAME) == nullptr) {
        TAQMSG_REPORT(BAD_OBJECT_NAME);
        return false;
    }
    if (_given(ARG_OTYPE) && _msg_otype == OBJTAG_QEN) {
        TAQMSG_REPORT(QEN_HAS_NO_NAME);
        return false;
    }
    HashTable::init();
    _oname_hashp = std::make_unique<HashTable>();
    _oname_hashp->init("TAQ_MSG_Hash", ONAME_BUCKETS, ht_func);
    for (int i = _arg[ARG_ONAME] + 1; i < _argc - 1 && _pos[i] == VALUE; ++i) {
        if (is_blank(_argv[i])) {
            TAQMSG_REPORT(BAD_OBJECT_NAME);
            return false;
        }
        (void)_oname_hashp->append(_argv[i]); // a name given twice counts once
    }
    return true;
}

bool Arguments::_take_numbers() {
    if (_given(ARG_MSGID)) {
        const char* value = _value_of(ARG_MSGID);
        if (value == nullptr) {
            TAQMSG_REPORT(BAD_MESSAGE_ID);
            return false;
        }
        _msg_id = to_int(value);
    }
    if (_given(ARG_CATEGORY)) {
        const char* value = _value_of(ARG_CATEGORY);
        if (value == nullptr) {
            TAQMSG_REPORT(BAD_CATEGORY);
            return false;
        }
        _cat_id = to_int(value);
    }
    return true;
}

// When the value of the last option is the last argument, no file is left.
bool Arguments::_take_file() {
    if (_need_data && _last_opt == _argc - 2) {
        TAQMSG_REPORT(BAD_COUNT);
        return false;
    }
    _filep = discard_ext(_argv[_argc - 1]);
    return true;
}

} // namespace

int taqmsg_process_args(int argc, char** argv, const char* filename, int lineno) {
    current_filename = filename;
    current_lineno = lineno;
    return Arguments(argc, argv).run();
}
