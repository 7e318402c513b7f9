<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en_US">
<context>
    <name>Tallowfern</name>
    <message>
        <source>⌃</source>
        <translation>Ctrl+</translation>
    </message>
    <message>
        <source>⌥</source>
        <translation>Alt+</translation>
    </message>
    <message>
        <source>⇧</source>
        <translation>Shift+</translation>
    </message>
    <message>
        <source>⌘</source>
        <translation>Super+</translation>
    </message>
    <message>
        <source>Accessibility access is required for automatic paste.</source>
        <translation>This desktop does not let Tallowfern paste. Automatic paste needs the XTEST extension of the X server.</translation>
    </message>
    <message>
        <source>Microphone access is required.</source>
        <translation>No microphone was found. Connect one, or choose it in the sound settings.</translation>
    </message>
    <message>
        <source>Microphone and Accessibility access are required.</source>
        <translation>No microphone was found, and this desktop does not let Tallowfern paste.</translation>
    </message>
    <message>
        <source>Your voice stays on this Mac</source>
        <translation>Your voice stays on this computer</translation>
    </message>
    <message>
        <source>Screen Recording access is required for the screenshot shortcut.</source>
        <translation>This desktop does not let Tallowfern take pictures of the screen, which the screenshot shortcut needs.</translation>
    </message>
    <message>
        <source>The %1 API key could not be updated in Keychain.</source>
        <translation>The %1 API key could not be updated in the system keyring.</translation>
    </message>
    <message>
        <source>The %1 API key could not be updated in Keychain: %2</source>
        <translation>The %1 API key could not be updated in the system keyring: %2</translation>
    </message>
    <message>
        <source>Accessibility access is required for selected-text context and automatic paste.</source>
        <translation>This desktop does not let Tallowfern copy and paste. The selected text and automatic paste need the XTEST extension of the X server.</translation>
    </message>
    <message>
        <source>Accessibility access is required to send selected text to Command.</source>
        <translation>This desktop does not let Tallowfern copy. The selected text needs the XTEST extension of the X server.</translation>
    </message>
    <message>
        <source>Accessibility access is not required.</source>
        <translation>Nothing has to be allowed.</translation>
    </message>
    <message>
        <source>Checking Apple Intelligence</source>
        <translation>Looking for a model on this computer</translation>
    </message>
    <message>
        <source>Copied to the clipboard — press ⌘V to paste.</source>
        <translation>Copied to the clipboard — press Ctrl+V to paste.</translation>
    </message>
</context>
</TS>
