// A corner of a quad passes through as it is.
struct Vertex {
  float4 position : POSITION;
  float2 texcoord : TEXCOORD;
};
struct Corner {
  float4 position : SV_POSITION;
  float2 texcoord : TEXCOORD;
};

Corner main(Vertex vertex) {
  Corner corner;
  corner.position = vertex.position;
  corner.texcoord = vertex.texcoord;
  return corner;
}
