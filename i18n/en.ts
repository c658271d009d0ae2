<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>BridgeLog</name>
    <message numerus="yes">
        <source>%n byte(s) are missing here.</source>
        <translation>
            <numerusform>%n byte is missing here.</numerusform>
            <numerusform>%n bytes are missing here.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>CrcPanel</name>
    <message numerus="yes">
        <source>%n input byte(s)</source>
        <translation>
            <numerusform>%n input byte</numerusform>
            <numerusform>%n input bytes</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Expression</name>
    <message numerus="yes">
        <source>&quot;%1&quot; takes %n argument(s).</source>
        <translation>
            <numerusform>&quot;%1&quot; takes %n argument.</numerusform>
            <numerusform>&quot;%1&quot; takes %n arguments.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>FileTransferBar</name>
    <message numerus="yes">
        <source>%n retries</source>
        <translation>
            <numerusform>%n retry</numerusform>
            <numerusform>%n retries</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SerialTransport</name>
    <message numerus="yes">
        <source>Serial Port %1 was closed with %n byte(s) not sent.</source>
        <translation>
            <numerusform>Serial Port %1 was closed with %n byte not sent.</numerusform>
            <numerusform>Serial Port %1 was closed with %n bytes not sent.</numerusform>
        </translation>
    </message>
</context>
</TS>
