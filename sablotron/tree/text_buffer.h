// Text that grows in memory of malloc and is handed out without another copy.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace sablot {

class TextBuffer {
public:
    TextBuffer() = default;
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;
    ~TextBuffer() { std::free(text_); }

    void Append(std::string_view text) {
        if (capacity_ - size_ <= text.size()) Grow(text.size());
        std::memcpy(text_ + size_, text.data(), text.size());
        size_ += text.size();
    }
    void Append(char character) {
        if (capacity_ - size_ <= 1) Grow(1);
        text_[size_++] = character;
    }
    std::string_view View() const { return {text_, size_}; }

    // The NUL-terminated text, to be released with free(); the buffer is empty after it.
    char* Release() {
        if (text_ == nullptr) Grow(0);
        text_[size_] = '\0';
        char* text = text_;
        // What was reserved too much goes back; when that fails the text is as good as before.
        if (void* shrunk = std::realloc(text, size_ + 1)) text = static_cast<char*>(shrunk);
        text_ = nullptr;
        size_ = capacity_ = 0;
        return text;
    }

private:
    // Makes room for more bytes and a NUL.
    void Grow(size_t more) {
        size_t wanted = size_ + more + 1;
        size_t capacity = capacity_ + capacity_ / 2 + 256;
        if (capacity < wanted) capacity = wanted;
        auto* text = static_cast<char*>(std::realloc(text_, capacity));
        if (text == nullptr) throw std::bad_alloc();
        text_ = text;
        capacity_ = capacity;
    }

    char* text_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

} // namespace sablot
