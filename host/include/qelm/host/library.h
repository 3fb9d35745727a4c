#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace qelm::host {

/** A shared library, or one of the functions expected in it, is missing; the sentence names it. */
class LoadError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * A loaded shared library, unloaded with the object.
 *
 * A library that is loaded under its path is also what a later load by its bare name finds (on Linux when its soname is
 * that name). Loading another runtime before an Applet therefore makes the applet run on that one.
 */
class Library {
  public:
    /** Loads the library of that path, and what it links beside it. @throws LoadError */
    explicit Library(const std::filesystem::path& file);
    /** The library of that base name ("nuvrak5") if this process holds it already. */
    static std::optional<Library> alreadyLoaded(const std::string& baseName);
    ~Library();
    Library(Library&& other) noexcept;
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    Library& operator=(Library&&) = delete;

    /** @return the symbol's address, or null */
    void* find(const char* symbol) const;

    /** Sets `function` to the symbol, with the function type that it is declared with. @throws LoadError */
    template <class Function>
    void resolve(Function*& function, const char* symbol) const {
        function = reinterpret_cast<Function*>(require(symbol));
    }

  private:
    explicit Library(void* handle) : handle_(handle) {}
    void* require(const char* symbol) const;

    void* handle_;
    std::filesystem::path file_;
};

} // namespace qelm::host
