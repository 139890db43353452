<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES" sourcelanguage="es">
<context>
    <name>ContentView</name>
    <message numerus="yes">
        <source>%n canciones</source>
        <translation>
            <numerusform>%n canción</numerusform>
            <numerusform>%n canciones</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>DisplayText</name>
    <message numerus="yes">
        <source>%n minutos</source>
        <translation>
            <numerusform>%n minuto</numerusform>
            <numerusform>%n minutos</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n segundos</source>
        <translation>
            <numerusform>%n segundo</numerusform>
            <numerusform>%n segundos</numerusform>
        </translation>
    </message>
</context>
</TS>
