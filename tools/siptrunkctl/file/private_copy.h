#pragma once

#include <string>

/// A text in a file that nobody else can read, in a folder of its own, so that what an editor
/// leaves beside it is as private.
class PrivateCopy {
  public:
    /// Makes the file below TMPDIR, or /tmp. Throws std::system_error.
    explicit PrivateCopy(const std::string& text);
    /// Removes the file and the folder, unless they are to be kept.
    ~PrivateCopy();
    PrivateCopy(const PrivateCopy&) = delete;
    PrivateCopy& operator=(const PrivateCopy&) = delete;

    const std::string& Path() const { return m_path; }
    /// Reads the text as it is now. Throws like ReadInput.
    std::string Text() const;
    /// Returns whether it holds another text now, also one that is too long to be read.
    bool IsOther(const std::string& text) const;
    /// Lets the file stay when the object goes.
    void Keep() { m_isKept = true; }
    bool IsKept() const { return m_isKept; }

  private:
    std::string m_path;
    bool m_isKept = false;
};

/// Runs the editor of VISUAL or EDITOR, or vi, on a file and waits for its end. Both variables may
/// hold options, as shells read them. Throws a Failure when the editor fails or is killed.
void RunEditor(const std::string& path);
