#pragma once
// A node map with ports of chunks and events, and all that may be asked of it.

#include <Base/GCException.h>
#include <GenApi/GenApi.h>

#include <string>

namespace fuzz {

inline const char* const kChunkDescription = R"(<RegisterDescription ModelName="M" VendorName="V"
 StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1"
 MinorVersion="0" SubMinorVersion="0" ProductGuid="P" VersionGuid="G">
<Port Name="Device"/>
<Port Name="A"><ChunkID>00000001</ChunkID></Port>
<Port Name="B"><ChunkID>00000002</ChunkID><CacheChunkData>Yes</CacheChunkData></Port>
<Port Name="C"><pChunkID>IdText</pChunkID></Port>
<Port Name="Crc"><ChunkID>00000005</ChunkID></Port>
<Port Name="Event"><EventID>0001</EventID></Port>
<Port Name="OtherEvent"><EventID>02</EventID><SwapEndianess>Yes</SwapEndianess></Port>
<String Name="IdText"><Value>03</Value></String>
<Integer Name="Size"><Value>3</Value></Integer>
<Integer Name="ChunkSelector"><Value>0</Value><pSelected>Picked</pSelected></Integer>
<IntReg Name="Width"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>A</pPort></IntReg>
<IntReg Name="LengthBefore"><Address>-4</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>A</pPort></IntReg>
<MaskedIntReg Name="Flag"><Address>3</Address><Length>2</Length><AccessMode>RW</AccessMode><pPort>A</pPort>
 <LSB>2</LSB><MSB>5</MSB></MaskedIntReg>
<IntReg Name="Picked"><Address>0</Address><pIndex Offset="8">ChunkSelector</pIndex><Length>8</Length>
 <AccessMode>RW</AccessMode><pPort>B</pPort></IntReg>
<StringReg Name="Text"><Address>2</Address><pLength>Width</pLength><AccessMode>RW</AccessMode><pPort>B</pPort>
</StringReg>
<FloatReg Name="Gain"><Address>0</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>C</pPort></FloatReg>
<Register Name="Bytes"><Address>1</Address><pLength>Size</pLength><AccessMode>RW</AccessMode><pPort>C</pPort></Register>
<IntReg Name="ChunkPayloadCRC16"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Crc</pPort>
</IntReg>
<IntReg Name="Stamp"><Address>4</Address><Length>8</Length><AccessMode>RO</AccessMode><pPort>Event</pPort></IntReg>
<IntReg Name="Code"><pAddress>Stamp</pAddress><Length>2</Length><AccessMode>RO</AccessMode><pPort>OtherEvent</pPort>
</IntReg>
<Integer Name="Told"><EventID>0001</EventID><pValue>Stamp</pValue></Integer>
</RegisterDescription>)";

// Runs one question; anything but an exception of the library is a fault.
template<class Question>
void Ask(Question question) {
    try {
        question();
    } catch (const GenICam::GenericException&) {
        return;
    }
}

inline void ReadAll(GenApi::CNodeMapRef& map, bool verify) {
    GenApi::NodeList_t nodes;
    map._GetNodes(nodes);
    for (GenApi::INode* const pNode : nodes) {
        Ask([&] { pNode->GetAccessMode(); });
        if (GenApi::CValuePtr pValue = pNode; pValue.IsValid()) Ask([&] { pValue->ToString(verify, !verify); });
    }
}

inline void WriteAll(GenApi::CNodeMapRef& map, uint8_t number) {
    for (const char* const name : {"Width", "Flag", "Picked", "ChunkSelector", "Size"}) {
        GenApi::CIntegerPtr pInteger = map._GetNode(name);
        Ask([&] { pInteger->SetValue(number, /*Verify=*/false); });
    }
    GenApi::CStringPtr pText = map._GetNode("Text");
    Ask([&] { pText->SetValue("text", /*Verify=*/false); });
    GenApi::CRegisterPtr pBytes = map._GetNode("Bytes");
    Ask([&] { pBytes->Set(&number, 1); });
}

} // namespace fuzz
