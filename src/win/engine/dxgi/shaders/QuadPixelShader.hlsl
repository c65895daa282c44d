// A pixel is what the texture shows at its place.
Texture2D tx : register(t0);
SamplerState smpl : register(s0);

struct Corner {
  float4 position : SV_POSITION;
  float2 texcoord : TEXCOORD;
};

float4 main(Corner corner) : SV_Target {
  return tx.Sample(smpl, corner.texcoord);
}
