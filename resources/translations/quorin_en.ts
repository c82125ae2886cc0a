<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="status.ready">
        <source></source>
        <translation>Ready</translation>
    </message>
    <message id="back_button_title">
        <source></source>
        <translation>Back</translation>
    </message>
    <message id="audio.verifying">
        <source></source>
        <translation>Checking your audio…</translation>
    </message>
    <message id="audio.guard.title">
        <source></source>
        <translation>Send your sound through Quorin Audio</translation>
    </message>
    <message id="audio.guard.text.both">
        <source></source>
        <translation>Quorin Stream sends what goes through “Quorin Audio”. It has to be the output and the input: set it up with one click, or choose it in the sound settings.</translation>
    </message>
    <message id="audio.guard.text.out">
        <source></source>
        <translation>Quorin Stream sends what goes through “Quorin Audio”. It has to be the output too: set it up with one click, or choose it in the sound settings.</translation>
    </message>
    <message id="audio.guard.text.in">
        <source></source>
        <translation>Quorin Stream sends what goes through “Quorin Audio”. It has to be the input too: set it up with one click, or choose it in the sound settings.</translation>
    </message>
    <message id="audio.guard.text.no_server">
        <source></source>
        <translation>No sound server is running on this computer. Start PulseAudio or PipeWire (with pipewire-pulse), or log out and in again; Quorin Stream goes on by itself then.</translation>
    </message>
    <message id="audio.guard.button">
        <source></source>
        <translation>Open Sound Settings</translation>
    </message>
    <message id="audio.guard.setup">
        <source></source>
        <translation>Set up for me</translation>
    </message>
    <message id="audio.guard.setup.working">
        <source></source>
        <translation>Setting up…</translation>
    </message>
    <message id="audio.guard.setup.note">
        <source></source>
        <translation>Your loudspeakers are silent while Quorin Stream is open; they come back when you quit.</translation>
    </message>
    <message id="audio.guard.setup.no_server">
        <source></source>
        <translation>No sound server answered. Start it, or log out and in again; then click once more.</translation>
    </message>
    <message id="audio.guard.setup.refused">
        <source></source>
        <translation>The sound server does not let this program create a device: a sandbox or its own settings forbid it. Run “quorin-device add --default” in a terminal, or choose the device in the sound settings.</translation>
    </message>
    <message id="audio.guard.setup.missing">
        <source></source>
        <translation>The program quorin-device is missing. Install Quorin Stream again, then click again.</translation>
    </message>
    <message id="audio.guard.setup.failed">
        <source></source>
        <translation>The sound server did not set the device up. Click again; if that does not help, log out and in again.</translation>
    </message>
    <message id="audio.guard.status.out.ok">
        <source></source>
        <translation>Output ready</translation>
    </message>
    <message id="audio.guard.status.out.missing">
        <source></source>
        <translation>Output to change</translation>
    </message>
    <message id="audio.guard.status.in.ok">
        <source></source>
        <translation>Input ready</translation>
    </message>
    <message id="audio.guard.status.in.missing">
        <source></source>
        <translation>Input to change</translation>
    </message>
    <message id="mic.overlay.text">
        <source></source>
        <translation>Quorin Stream may not record sound yet. Allow the microphone in the privacy settings, and this screen closes by itself.</translation>
    </message>
    <message id="mic.overlay.button">
        <source></source>
        <translation>Open Privacy Settings</translation>
    </message>
    <message id="menu.header">
        <source></source>
        <translation>How do you want to stream audio?</translation>
    </message>
    <message id="cards.online.title">
        <source></source>
        <translation>Wi‑Fi Streaming</translation>
    </message>
    <message id="cards.online.note">
        <source></source>
        <translation>Same 5 GHz Wi‑Fi network</translation>
    </message>
    <message id="cards.offline.title">
        <source></source>
        <translation>USB Cable</translation>
    </message>
    <message id="cards.offline.note">
        <source></source>
        <translation>Use your iPhone charging cable (USB‑C or Lightning)</translation>
    </message>
    <message id="footer.privacy">
        <source></source>
        <translation>Privacy &amp; Terms</translation>
    </message>
    <message id="footer.copyright">
        <source></source>
        <translation>© The Quorin Stream authors</translation>
    </message>
    <message id="alert.privacy.title">
        <source></source>
        <translation>Privacy &amp; Terms</translation>
    </message>
    <message id="alert.privacy.info">
        <source></source>
        <translation>Your sound goes straight from this computer to the iPhones you connect, over your own network or cable. Nothing passes through a server, and Quorin Stream records, stores and reports nothing. Over Wi‑Fi the sound is not encrypted, and anyone in your network can connect and listen: use a network you trust, and stream only what you may share.

The program comes without any warranty.</translation>
    </message>
    <message id="common.ok">
        <source></source>
        <translation>OK</translation>
    </message>
    <message id="alert.stop.title">
        <source></source>
        <translation>Stop streaming?</translation>
    </message>
    <message id="alert.stop.info">
        <source></source>
        <translation>Someone is listening right now. Stopping ends the stream for every connected phone.</translation>
    </message>
    <message id="alert.stop.confirm">
        <source></source>
        <translation>Stop</translation>
    </message>
    <message id="common.cancel">
        <source></source>
        <translation>Cancel</translation>
    </message>
    <message id="notice.goes_on">
        <source></source>
        <translation>Quorin Stream goes on</translation>
    </message>
    <message id="notice.joined">
        <source></source>
        <translation>A phone joined</translation>
    </message>
    <message id="notice.left">
        <source></source>
        <translation>A phone left</translation>
    </message>
    <message id="notice.stopped">
        <source></source>
        <translation>The stream has stopped</translation>
    </message>
    <message id="notice.stopped.info">
        <source></source>
        <translation>The sound devices are not the right ones; the window says what is missing.</translation>
    </message>
    <message id="notice.stopped.microphone">
        <source></source>
        <translation>The microphone is not allowed; the window says where to allow it.</translation>
    </message>
    <message id="notice.not_started">
        <source></source>
        <translation>The stream could not start</translation>
    </message>
    <message id="notice.listeners" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%n phone listens</numerusform>
            <numerusform>%n phones listen</numerusform>
        </translation>
    </message>
    <message id="notice.awake">
        <source></source>
        <translation>Phones listen to this computer</translation>
    </message>
    <message id="tray.idle">
        <source></source>
        <translation>Nothing is sent</translation>
    </message>
    <message id="tray.show">
        <source></source>
        <translation>Show</translation>
    </message>
    <message id="tray.stop">
        <source></source>
        <translation>Stop streaming</translation>
    </message>
    <message id="tray.quit">
        <source></source>
        <translation>Quit</translation>
    </message>
    <message id="usb_instruction_title">
        <source></source>
        <translation>Connect your iPhone with its cable and open the app</translation>
    </message>
    <message id="waiting_connection">
        <source></source>
        <translation>Waiting for a connection…</translation>
    </message>
    <message id="usb.connected">
        <source></source>
        <translation>iPhone connected</translation>
    </message>
    <message id="cable.service.missing">
        <source></source>
        <translation>The USB service (usbmuxd) is not installed. Install it with:</translation>
    </message>
    <message id="cable.service.stopped">
        <source></source>
        <translation>The USB service is not running. It starts when you connect the iPhone with a cable that carries data; if it does not, start it with:</translation>
    </message>
    <message id="cable.phone.none">
        <source></source>
        <translation>No iPhone found. Use a cable that carries data, unlock the iPhone and tap “Trust”.</translation>
    </message>
    <message id="cable.phone.locked">
        <source></source>
        <translation>Unlock the iPhone and tap “Trust”.</translation>
    </message>
    <message id="cable.app.closed">
        <source></source>
        <translation>Open the app on the iPhone.</translation>
    </message>
    <message id="cable.app.silent">
        <source></source>
        <translation>The app does not answer: wake it up</translation>
    </message>
    <message id="pairing_instructions">
        <source></source>
        <translation>Scan the code with the iPhone app</translation>
    </message>
    <message id="status.connected.one">
        <source></source>
        <translation>1 phone connected</translation>
    </message>
    <message id="status.connected.many" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%n phone connected</numerusform>
            <numerusform>%n phones connected</numerusform>
        </translation>
    </message>
    <message id="network.unavailable">
        <source></source>
        <translation>No network. Connect this computer to your Wi‑Fi.</translation>
    </message>
    <message id="network.available">
        <source></source>
        <translation>Network available</translation>
    </message>
    <message id="network.change_detected">
        <source></source>
        <translation>Network changed</translation>
    </message>
    <message id="network.generating_qr_in_seconds" numerus="yes">
        <source></source>
        <translation>
            <numerusform>New QR code in %n second</numerusform>
            <numerusform>New QR code in %n seconds</numerusform>
        </translation>
    </message>
    <message id="udp.port.invalid">
        <source></source>
        <translation>That port cannot be used. Enter a number from 1 to 65535.</translation>
    </message>
    <message id="udp.socket.create_failed">
        <source></source>
        <translation>The network cannot be used: too many files are open. Close other programs.</translation>
    </message>
    <message id="udp.port.bind_failed">
        <source></source>
        <translation>The port is not available.</translation>
    </message>
    <message id="qr.input.invalid">
        <source></source>
        <translation>The QR code needs an address and a port. Check your network connection.</translation>
    </message>
    <message id="qr.generate.failed">
        <source></source>
        <translation>The QR code could not be drawn. Go back to the menu and try again.</translation>
    </message>
    <message id="alert.settings.title">
        <source></source>
        <translation>The settings could not be opened</translation>
    </message>
    <message id="alert.settings.sound">
        <source></source>
        <translation>Open your desktop's sound settings and choose Quorin Audio as output and as input. If the device is missing, create it with: quorin-device add --default</translation>
    </message>
    <message id="alert.settings.microphone">
        <source></source>
        <translation>Open your desktop's privacy settings and let Quorin Stream use the microphone.</translation>
    </message>
    <message id="status.silent">
        <source></source>
        <translation>No sound is playing on this computer</translation>
    </message>
    <message id="status.silent.muted">
        <source></source>
        <translation>“Quorin Audio” is muted</translation>
    </message>
    <message id="status.silent.elsewhere">
        <source></source>
        <translation>%1 plays on %2</translation>
    </message>
    <message id="status.silent.move">
        <source></source>
        <translation>Move it</translation>
    </message>
    <message id="status.silent.unmute">
        <source></source>
        <translation>Unmute</translation>
    </message>
    <message id="play_here">
        <source></source>
        <translation>Also play on this computer</translation>
    </message>
    <message id="sound_level">
        <source></source>
        <translation>Sound level</translation>
    </message>
    <message id="status.full">
        <source></source>
        <translation>All ten places are taken. One more phone found none.</translation>
    </message>
    <message id="phone.listening">
        <source></source>
        <translation>%1, connected since %2</translation>
    </message>
    <message id="phone.disconnect">
        <source></source>
        <translation>Disconnect</translation>
    </message>
    <message id="address.name">
        <source></source>
        <translation>Address of this computer</translation>
    </message>
    <message id="address.copy">
        <source></source>
        <translation>Copy</translation>
    </message>
    <message id="address.copy_it">
        <source></source>
        <translation>Copy address %1</translation>
    </message>
    <message id="address.copied">
        <source></source>
        <translation>Copied</translation>
    </message>
    <message id="address.network">
        <source></source>
        <translation>Network: %1</translation>
    </message>
    <message id="address.network.wifi">
        <source></source>
        <translation>Wi‑Fi (%1)</translation>
    </message>
    <message id="address.network.wired">
        <source></source>
        <translation>Wired (%1)</translation>
    </message>
    <message id="port.in_use">
        <source></source>
        <translation>Port %1 is in use</translation>
    </message>
    <message id="port.holder.other_session">
        <source></source>
        <translation>Quorin Stream holds it in another session of yours.</translation>
    </message>
    <message id="port.holder.other_user">
        <source></source>
        <translation>Quorin Stream of the user %1 holds it.</translation>
    </message>
    <message id="port.holder.program">
        <source></source>
        <translation>The program %1 holds it.</translation>
    </message>
    <message id="port.holder.unknown">
        <source></source>
        <translation>Another program holds it.</translation>
    </message>
    <message id="port.not_permitted">
        <source></source>
        <translation>Port %1 is reserved</translation>
    </message>
    <message id="port.not_permitted.advice">
        <source></source>
        <translation>The system keeps it for its own services. Use one above 1023.</translation>
    </message>
    <message id="port.tries_again">
        <source></source>
        <translation>This page tries again every 2 seconds.</translation>
    </message>
    <message id="port.try_again">
        <source></source>
        <translation>Try again</translation>
    </message>
    <message id="port.use">
        <source></source>
        <translation>Use port %1</translation>
    </message>
    <message id="language">
        <source></source>
        <translation>en</translation>
    </message>
    <message id="help.title">
        <source></source>
        <translation>Help</translation>
    </message>
    <message id="help.looking">
        <source></source>
        <translation>Checking this computer…</translation>
    </message>
    <message id="help.text">
        <source></source>
        <translation>## What the phone needs

1. The iPhone app: a program of its own, to be had from where you got this one; on another computer `quorin-listen` takes its place.
2. The same network as this computer, best a Wi‑Fi of 5 GHz; or its charging cable.
3. For Wi‑Fi: choose “Wi‑Fi Streaming” and scan the code, or type the address that stands beneath it.
4. For the cable: unlock the iPhone, tap “Trust” when it asks, and open the app.

## When no sound arrives

- The phone has to reach UDP port %1 of this computer. Where a firewall keeps it out: `sudo ufw allow %1/udp`, or `sudo firewall-cmd --add-port=%1/udp`. Another port is chosen with `quorin-stream --port`.
- In many guest networks the phone cannot see the computer; use another one, or the cable.
- The cable needs the USB service: `sudo apt install usbmuxd`.

## Keys

Esc or Alt+Left: back. Ctrl+W: close the window; the stream goes on. Ctrl+Q: quit. F1: this help.

## This computer</translation>
    </message>
</context>
</TS>
