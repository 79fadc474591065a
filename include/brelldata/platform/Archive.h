#pragma once

// A byte archive over a file or over memory, in the shape host code knows:
// CFile on a disk file, CMemFile in memory, CArchive buffering small raw
// transfers and passing large ones straight to the file. Device failures
// throw CFileException; running out of bytes to read is not a failure.

#include <brelldata/Export.h>

#include <cstdint>
#include <exception>
#include <string>

class BRELL_API CFileException : public std::exception {
public:
    // reason: what failed, e.g. "cannot open"; detail: why, e.g. strerror's text.
    CFileException(const std::string& fileName, const std::string& reason, const std::string& detail);
    const char* what() const noexcept override;
    const std::string& FileName() const { return fileName_; }

private:
    std::string fileName_;
    std::string message_;
};

class BRELL_API CFile {
public:
    enum OpenFlags { modeRead = 0x0000, modeWrite = 0x0001, modeReadWrite = 0x0002, modeCreate = 0x1000 };
    enum SeekPosition { begin = 0, current = 1, end = 2 };

    // No file: every transfer throws until a derived class provides one.
    CFile();
    // modeCreate creates the file or truncates it; throws CFileException when it cannot open.
    CFile(const char* path, unsigned int openFlags);
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;
    virtual ~CFile();

    // Bytes read: count, or fewer at the end of the file. Throws on a device error.
    virtual unsigned int Read(void* buffer, unsigned int count);
    // All count bytes, or throws CFileException.
    virtual void Write(const void* buffer, unsigned int count);
    // The new position; throws CFileException for a position before the start.
    virtual uint64_t Seek(int64_t offset, unsigned int from);
    void SeekToBegin();
    virtual uint64_t GetLength() const;
    // The bytes from the position to the end, where the file knows them: true
    // for a regular disk file and for memory, false for any other device.
    virtual bool GetRemaining(uint64_t& bytes) const;
    // Throws CFileException when closing reports a failure; closing twice does nothing.
    virtual void Close();

protected:
    [[noreturn]] void Fail(const char* reason, const char* detail) const;

    std::string fileName_;

private:
    int descriptor_ = -1;
};

class BRELL_API CMemFile : public CFile {
public:
    // Empty; grows in steps of growBytes as it is written.
    explicit CMemFile(unsigned int growBytes = 1024);
    // Over the caller's bytes, which stay the caller's. With growBytes 0 writing
    // past size throws; otherwise the bytes must come from std::malloc, since
    // growing moves them with std::realloc (Detach tells where to).
    CMemFile(uint8_t* buffer, unsigned int size, unsigned int growBytes = 0);
    ~CMemFile() override;

    unsigned int Read(void* buffer, unsigned int count) override;
    void Write(const void* buffer, unsigned int count) override;
    uint64_t Seek(int64_t offset, unsigned int from) override;
    uint64_t GetLength() const override;
    bool GetRemaining(uint64_t& bytes) const override;
    void Close() override;
    // Hands the bytes (GetLength() of them) to the caller, who frees them with
    // std::free unless they were the caller's already; the file is left empty.
    uint8_t* Detach();

private:
    void Reset();

    uint8_t* buffer_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
    size_t position_ = 0;
    unsigned int growBytes_;
    bool ownsBuffer_;
};

class BRELL_API CArchive {
public:
    enum Mode { store = 0, load = 1 };

    // The file stays the caller's and must outlive the archive's use of it.
    CArchive(CFile* file, unsigned int mode);
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;
    // Flushes when storing; a failure then is lost, so call Close to see it.
    ~CArchive();

    // Bytes read, fewer at the end of the file; 0 when storing or closed.
    unsigned int Read(void* buffer, unsigned int count);
    // Loading: the bytes left to read, when the file knows them (GetRemaining).
    bool GetRemaining(uint64_t& bytes) const;
    // Throws CFileException when loading, closed, or when the file fails.
    void Write(const void* buffer, unsigned int count);
    // Storing: hands the buffered bytes to the file. Loading: drops the bytes
    // read ahead and moves the file back to where the reader stopped.
    void Flush();
    // Flushes and lets go of the file.
    void Close();
    bool IsLoading() const { return mode_ == load; }
    bool IsStoring() const { return mode_ == store; }

private:
    static constexpr unsigned int kBufferSize = 4096;

    CFile* file_;
    unsigned int mode_;
    unsigned int begin_ = 0;  // loading: next byte to hand out
    unsigned int end_ = 0;    // bytes in the buffer
    uint8_t buffer_[kBufferSize];
};
