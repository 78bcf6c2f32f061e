#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace Vellox::Posix {

template <typename Char> bool IsSeparator(Char character) {
    return character == '\\' || character == '/';
}

template <typename Char> bool IsDriveLetter(Char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

template <typename Char> bool HasDrive(std::basic_string_view<Char> path) {
    return path.size() >= 2 && IsDriveLetter(path[0]) && path[1] == ':';
}

// Drive C: is the root of this system.
template <typename Char> bool IsRootDrive(Char letter) {
    return letter == 'C' || letter == 'c';
}

template <typename Char> bool IsOnShare(std::basic_string_view<Char> path) {
    return path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
}

// Writes a path component by component into a buffer that has room for it, and resolves `.` and `..` on the way.
// The buffer may be the one that the components are read from: what is written never gets ahead of what was read.
template <typename Char> class ComponentWriter {
public:
    using View = std::basic_string_view<Char>;

    ComponentWriter(Char* text, Char separator) : text_(text), separator_(separator) {}

    // What `..` cannot take away. Without a root, leading `..` stay.
    void PutRoot(View root) {
        std::char_traits<Char>::move(text_ + length_, root.data(), root.size());
        length_ += root.size();
        rootLength_ = length_;
    }

    void PutComponents(View path) {
        while (!path.empty()) {
            const std::size_t plain = PlainLength(path);
            PutPlain(path.substr(0, plain));
            path.remove_prefix(plain);
            const std::size_t name = PutResolved(path);
            path.remove_prefix(std::min(name + 1, path.size()));
        }
    }

    void PutSeparator() {
        if (length_ != 0 && text_[length_ - 1] != separator_)
            text_[length_++] = separator_;
    }

    bool IsEmpty() const { return length_ == 0; }

    std::size_t Finish() {
        text_[length_] = 0;
        return length_;
    }

private:
    // Where a separator stands in front of another one or of a dot, there may be something to resolve. Out of line, the
    // loop becomes a few instructions.
    [[gnu::noinline]] static bool MayHaveToResolve(const Char* block) {
        unsigned char found = 0;
        for (std::size_t index = 0; index < blockSize; ++index)
            found = static_cast<unsigned char>(
                found |
                (Bit(IsSeparator(block[index])) & (Bit(IsSeparator(block[index + 1])) | Bit(block[index + 1] == '.'))));
        return found != 0;
    }

    static unsigned char Bit(bool isSet) { return isSet ? 1 : 0; }

    // How much of the path, whole components, can be written as it is.
    static std::size_t PlainLength(View path) {
        if (IsSeparator(path[0]) || path[0] == '.')
            return 0;
        const std::size_t last = path.size() - 1;
        std::size_t end = 0;
        while (last - end >= blockSize && !MayHaveToResolve(path.data() + end))
            end += blockSize;
        // The last block overlaps the one before it.
        const bool isInBlock = last >= blockSize && last - end < blockSize;
        if (isInBlock && !MayHaveToResolve(path.data() + last - blockSize))
            end = last;
        while (end < last && !(IsSeparator(path[end]) && (IsSeparator(path[end + 1]) || path[end + 1] == '.')))
            ++end;
        return end < last || IsSeparator(path[last]) ? end : path.size();
    }

    void PutPlain(View path) {
        if (path.empty())
            return;
        if (length_ > rootLength_)
            text_[length_++] = separator_;
        Char* const start = text_ + length_;
        std::char_traits<Char>::move(start, path.data(), path.size());
        length_ += path.size();
        ReplaceSeparators(start, path.size(), separator_);
    }

    static void ReplaceSeparators(Char* text, std::size_t size, Char separator) {
        for (std::size_t index = 0; index < size; ++index)
            text[index] = IsSeparator(text[index]) ? separator : text[index];
    }

    // Resolves the first component, and gives its length.
    std::size_t PutResolved(View path) {
        const auto end = std::find_if(path.begin(), path.end(), IsSeparator<Char>);
        const View name = path.substr(0, static_cast<std::size_t>(end - path.begin()));
        const bool isHere = name.size() == 1 && name[0] == '.';
        if (!isHere && !(IsParent(name) && (CutLastComponent() || rootLength_ != 0)))
            PutPlain(name);
        return name.size();
    }

    bool CutLastComponent() {
        std::size_t start = length_;
        while (start > rootLength_ && text_[start - 1] != separator_)
            --start;
        if (start == length_ || IsParent({text_ + start, length_ - start}))
            return false;
        length_ = start > rootLength_ ? start - 1 : start;
        return true;
    }

    static bool IsParent(View name) { return name.size() == 2 && name[0] == '.' && name[1] == '.'; }

    static constexpr std::size_t blockSize = 16;

    Char* text_;
    Char separator_;
    std::size_t length_ = 0;
    std::size_t rootLength_ = 0;
};

} // namespace Vellox::Posix
