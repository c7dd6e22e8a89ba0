// A program's part that has never heard of the library and takes the same names for classes and functions of
// its own.

#define OWN_CLASS(name)                                                                                      \
    class name {                                                                                             \
    public:                                                                                                  \
        name();                                                                                              \
        virtual ~name();                                                                                     \
        virtual void open(const char*);                                                                      \
        static int count;                                                                                    \
    };                                                                                                       \
    name::name() {                                                                                           \
        ++count;                                                                                             \
    }                                                                                                        \
    name::~name() {                                                                                          \
        --count;                                                                                             \
    }                                                                                                        \
    void name::open(const char*) {}                                                                          \
    int name::count = 0;

#define OWN_CLASSES(X)                                                                                       \
    X(Log)                                                                                                   \
    X(ILog)                                                                                                  \
    X(Memory)                                                                                                \
    X(DList)                                                                                                 \
    X(VList)                                                                                                 \
    X(NVList)                                                                                                \
    X(CList)                                                                                                 \
    X(HashTable)                                                                                             \
    X(Capture)                                                                                               \
    X(MsgStruct) X(NetBuffer) X(LdfReader) X(LdfWriter) X(LineBuffer) X(NameLock) X(MessageHdr) X(Buffer)

OWN_CLASSES(OWN_CLASS)

void msg_log_add(int) {}
int QENGetPid() {
    return 0;
}
Memory* taq_mem = nullptr;

int count_of_own_objects() {
#define OWN_OBJECT(name) name of_##name;
    OWN_CLASSES(OWN_OBJECT)
#define OWN_COUNT(name) +name::count
    return OWN_CLASSES(OWN_COUNT);
}
