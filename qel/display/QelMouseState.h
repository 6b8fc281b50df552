#pragma once

/// The mouse as the host's window code saw it at one event: position in the viewport (pixels,
/// origin top left as window systems report it), the buttons held and the modifier keys.
/// A plain record that the host fills and display systems read.
struct QelMouseState
{
    /// Bits of m_nButtons.
    enum EMouseButtons
    {
        eButtonNone = 0,
        eButtonLeft = 1,
        eButtonMiddle = 2,
        eButtonRight = 4,
        eButtonX1 = 8,
        eButtonX2 = 16
    };

    int m_nX = 0; ///< Position relative to the viewport, in pixels from the left.
    int m_nY = 0; ///< Position relative to the viewport, in pixels from the top.
    /// Buttons held down, a combination of EMouseButtons.
    unsigned int m_nButtons = eButtonNone;
    /// The button whose press or release this event reports (eButtonNone for motion and wheel).
    EMouseButtons m_eButton = eButtonNone;
    bool m_bShift = false;   ///< Shift held during the event.
    bool m_bControl = false; ///< Control held during the event.
    bool m_bAlt = false;     ///< Alt held during the event.

    /// Whether the button is among those held (m_nButtons), whichever button the event is about.
    bool IsDown(EMouseButtons eButton) const { return (m_nButtons & unsigned(eButton)) != 0; }
};
