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

// Writes a path component by component into a buffer that has room for it, and resolves `.`, `..` and doubled
// separators on the way. The buffer may be the one that the path is read from: a resolved path is never longer than its
// text, so what is written never gets ahead of what is still to be read.
template <typename Char> class ComponentWriter {
public:
    using View = std::basic_string_view<Char>;

    ComponentWriter(Char* text, Char separator) : text_(text), separator_(separator) {}

    // Writes text in front of the components that no `..` takes away, such as `C:\`. At such a root a `..` goes, as
    // there is nothing above it; in a relative path, which has no root, a `..` at the start stays.
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
    // True if one of the separators in the block has another separator or a dot behind it, so that there may be
    // something to resolve: `\\`, `\.`, `\..`, but also `\.name`. The character behind the block is looked at too. The
    // loop has no way out in its middle and the function is not inlined: so the compiler makes a few vector
    // instructions of it.
    [[gnu::noinline]] static bool MayHaveToResolve(const Char* block) {
        unsigned char found = 0;
        for (std::size_t index = 0; index < blockSize; ++index)
            found = static_cast<unsigned char>(
                found |
                (Bit(IsSeparator(block[index])) & (Bit(IsSeparator(block[index + 1])) | Bit(block[index + 1] == '.'))));
        return found != 0;
    }

    static unsigned char Bit(bool isSet) { return isSet ? 1 : 0; }

    // How many characters from the start of the path can be written as they are: whole components, up to the separator
    // behind which there may be something to resolve, or to the end.
    //
    //   songs\demo\..\take.wav   10: `songs\demo`. PutComponents writes it, and PutResolved goes on with
    //   `\..\take.wav`. songs\\demo              5: `songs`, in front of the doubled separator
    //   songs\demo\              10: the separator at the end is left to the caller
    //   ..\demo                  0: begins with what may have to be resolved itself
    //   songs\demo               10: all of it
    static std::size_t PlainLength(View path) {
        if (IsSeparator(path[0]) || path[0] == '.')
            return 0;
        const std::size_t last = path.size() - 1;
        const std::size_t end = FirstToResolve(path, last);
        return end < last || IsSeparator(path[last]) ? end : path.size();
    }

    // The index of the first separator with another one or a dot behind it; that of the last character if there is
    // none. As long as enough is left, sixteen characters are looked at in one step. What is left over then is fewer
    // than that, so the step is made once more for the sixteen characters in front of the last one, of which some were
    // looked at before: of a path of 40 characters, those from 0, from 16 and from 23. Where a step finds something,
    // and in a path that is shorter than a block, the characters are looked at one by one.
    static std::size_t FirstToResolve(View path, std::size_t last) {
        std::size_t index = 0;
        while (last - index >= blockSize && !MayHaveToResolve(path.data() + index))
            index += blockSize;
        const bool isLessThanBlockLeft = last >= blockSize && last - index < blockSize;
        if (isLessThanBlockLeft && !MayHaveToResolve(path.data() + last - blockSize))
            return last;
        while (index < last && !(IsSeparator(path[index]) && (IsSeparator(path[index + 1]) || path[index + 1] == '.')))
            ++index;
        return index;
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

    // Writes the first component of the path, drops it if it is `.`, or takes the last written one away if it is `..`.
    // Gives its length in the path.
    std::size_t PutResolved(View path) {
        const auto end = std::find_if(path.begin(), path.end(), IsSeparator<Char>);
        const View name = path.substr(0, static_cast<std::size_t>(end - path.begin()));
        const bool isHere = name.size() == 1 && name[0] == '.';
        if (!isHere && !(IsParent(name) && (CutLastComponent() || rootLength_ != 0)))
            PutPlain(name);
        return name.size();
    }

    // False if nothing is there to be cut: only the root, or a `..` that had to stay.
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
