#pragma once

/// One key event as the host's window code saw it: the virtual key code (Windows numbering,
/// so 'A' is 65 and the arrow keys are 37 to 40), the character it typed, repeats and modifiers.
/// A plain record that the host fills and display systems read.
struct QelKeyState
{
    /// Virtual key code of the key.
    unsigned int m_nKey = 0;
    /// Character produced (for CharacterPressed), 0 when the key types none.
    unsigned int m_nCharacter = 0;
    /// Auto-repeat count of a held key; 1 for a single press.
    unsigned int m_nRepeat = 1;
    bool m_bShift = false;   ///< Shift held during the event.
    bool m_bControl = false; ///< Control held during the event.
    bool m_bAlt = false;     ///< Alt held during the event.
};
