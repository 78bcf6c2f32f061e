#pragma once

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
        std::size_t position = 0;
        while (position < path.size()) {
            std::size_t end = position;
            while (end < path.size() && !IsSeparator(path[end]))
                ++end;
            PutComponent(path.substr(position, end - position));
            position = end + 1;
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
    void PutComponent(View name) {
        if (name.empty() || (name.size() == 1 && name[0] == '.'))
            return;
        const bool isParent = IsParent(name);
        if (isParent && (CutLastComponent() || rootLength_ != 0))
            return;
        if (length_ > rootLength_)
            text_[length_++] = separator_;
        std::char_traits<Char>::move(text_ + length_, name.data(), name.size());
        length_ += name.size();
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

    Char* text_;
    Char separator_;
    std::size_t length_ = 0;
    std::size_t rootLength_ = 0;
};

} // namespace Vellox::Posix
