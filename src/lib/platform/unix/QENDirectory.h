// Lists a directory: taqmsg shows the log data files that lie there.
#pragma once

inline namespace taq_1 {

// An open directory. Not copied; used by one thread at a time.
class QENDirectory {
public:
    explicit QENDirectory(const char* path);
    ~QENDirectory();
    QENDirectory(const QENDirectory&) = delete;
    QENDirectory& operator=(const QENDirectory&) = delete;

    bool is_open() const { return _stream != nullptr; } // false: no directory, or not readable

    // Goes on to the next entry, in the order of the file system, "." and ".." included. False: no more.
    bool next();
    const char* name() const { return _name; } // of the current entry, until the next call of next()

    // Whether the directory itself tells that the current entry is a regular file. False: another kind, or
    // the file system does not tell.
    bool is_known_file() const { return _is_known_file; }

private:
    void* _stream; // owned, a DIR
    const char* _name = nullptr;
    bool _is_known_file = false;
};

} // namespace taq_1
